#include "seg2su_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <filesystem>

#include "tool_window.h"

#include "seg2_to_su.h"
#include "tool_output.h"

namespace {

using namespace vexmor;

const char* const kTitle = "SEG-2 to Seismic Unix";

class Seg2SuWindow : public QWidget {
 public:
  Seg2SuWindow() {
    setWindowTitle(kTitle);
    auto* filesBox = new QGroupBox("SEG-2 files, converted in this order");
    files_ = new QListWidget;
    files_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    auto* add = new QPushButton("Add files...");
    auto* remove = new QPushButton("Remove");
    auto* clear = new QPushButton("Clear");
    auto* fileButtons = new QVBoxLayout;
    fileButtons->addWidget(add);
    fileButtons->addWidget(remove);
    fileButtons->addWidget(clear);
    fileButtons->addStretch();
    auto* filesRow = new QHBoxLayout;
    filesRow->addWidget(files_, 1);
    filesRow->addLayout(fileButtons);
    count_ = new QLabel;
    auto* filesLayout = new QVBoxLayout(filesBox);
    filesLayout->addLayout(filesRow);
    filesLayout->addWidget(count_);

    auto* outputBox = new QGroupBox("Seismic Unix output file");
    output_ = new QLineEdit;
    auto* chooseOutput = new QPushButton("Output file...");
    auto* outputRow = new QHBoxLayout(outputBox);
    outputRow->addWidget(output_, 1);
    outputRow->addWidget(chooseOutput);

    descale_ = new QCheckBox("Multiply the samples by each trace's DESCALING_FACTOR");
    progress_ = new QProgressBar;
    progress_->setRange(0, 1);
    progress_->setValue(0);

    auto* buttons = new QDialogButtonBox;
    convert_ = buttons->addButton("Convert", QDialogButtonBox::AcceptRole);
    auto* exit = buttons->addButton("Exit", QDialogButtonBox::RejectRole);
    convert_->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(filesBox, 1);
    layout->addWidget(outputBox);
    layout->addWidget(descale_);
    layout->addWidget(progress_);
    layout->addWidget(buttons);

    connect(add, &QPushButton::clicked, this, [this] { AddFiles(); });
    connect(remove, &QPushButton::clicked, this, [this] { qDeleteAll(files_->selectedItems()); Update(); });
    connect(clear, &QPushButton::clicked, this, [this] { files_->clear(); Update(); });
    connect(chooseOutput, &QPushButton::clicked, this, [this] { ChooseOutput(); });
    connect(convert_, &QPushButton::clicked, this, [this] { Convert(); });
    connect(exit, &QPushButton::clicked, this, &QWidget::close);
    connect(output_, &QLineEdit::textChanged, this, [this] { Update(); });
    resize(560, 420);
    Update();
  }

  void SetOutput(const QString& path) { output_->setText(path); }
  QPushButton* ConvertButton() { return convert_; }

  void Add(const QStringList& paths) {
    files_->addItems(paths);
    if (output_->text().isEmpty() && !paths.isEmpty()) {
      const QFileInfo first(paths.front());
      output_->setText(first.dir().filePath(first.completeBaseName() + ".su"));
    }
    Update();
  }

 private:
  void Update() {
    const int n = files_->count();
    count_->setText(n == 0 ? "No file chosen" : QString("%1 file%2").arg(n).arg(n == 1 ? "" : "s"));
    convert_->setEnabled(n > 0 && !output_->text().trimmed().isEmpty());
  }

  void AddFiles() {
    const QStringList paths = QFileDialog::getOpenFileNames(
        this, "SEG-2 file selection", folder_, "SEG-2 files (*.dat *.DAT *.sg2 *.SG2 *.seg2);;All files (*)");
    if (paths.isEmpty()) return;
    folder_ = QFileInfo(paths.front()).absolutePath();
    Add(paths);
  }

  void ChooseOutput() {
    const QString path = QFileDialog::getSaveFileName(this, "SU file selection", output_->text(),
                                                      "SU files (*.su *.SU);;All files (*)");
    if (!path.isEmpty()) output_->setText(path);
  }

  void Convert() {
    const QString output = output_->text().trimmed();
    std::vector<std::string> inputs;
    for (int k = 0; k < files_->count(); ++k) inputs.push_back(files_->item(k)->text().toStdString());
    if (QFileInfo::exists(output) &&
        QMessageBox::question(this, kTitle, output + " already exists. Write over it?") != QMessageBox::Yes) {
      return;
    }
    for (const std::string& in : inputs) {
      std::error_code ec;  // names that don't exist are no match
      if (std::filesystem::equivalent(in, output.toStdString(), ec)) {
        QMessageBox::warning(this, kTitle, output + " is one of the SEG-2 files; choose another output.");
        return;
      }
    }
    setEnabled(false);
    progress_->setRange(0, static_cast<int>(inputs.size()));
    progress_->setValue(0);
    Seg2SuReport report;
    QString failure;
    try {
      ToolOutput out(output.toStdString());
      Seg2SuOptions options;
      options.descale = descale_->isChecked();
      report = ConvertSeg2ToSu(
          inputs, [&out](const uint8_t* p, size_t n) { out.Write(p, n); }, options,
          [this](int done, int) {
            progress_->setValue(done);
            QApplication::processEvents();
          });
      out.Close();
    } catch (const std::exception& e) {
      failure = QString::fromStdString(e.what());
    }
    setEnabled(true);
    Finish(report, output, failure);
  }

  void Finish(const Seg2SuReport& report, const QString& output, const QString& failure) {
    if (!failure.isEmpty()) {
      QMessageBox::critical(this, kTitle, "The output could not be written:\n" + failure);
      return;
    }
    QString text = QString::fromStdString(Seg2SuSummary(report, output.toStdString()));
    text[0] = text[0].toUpper();
    text.replace(QStringLiteral("; "), QStringLiteral(".\n"));
    text += QChar('.');
    const bool lost = report.filesFailed > 0 || report.tracesLost > 0 || report.tracesCut > 0;
    QMessageBox box(lost ? QMessageBox::Warning : QMessageBox::Information, kTitle, text, QMessageBox::Ok, this);
    QStringList details;
    for (const std::string& m : report.messages) details << QString::fromStdString(m);
    if (!details.isEmpty()) box.setDetailedText(details.join('\n'));
    box.exec();
  }

  QListWidget* files_;
  QLabel* count_;
  QLineEdit* output_;
  QCheckBox* descale_;
  QProgressBar* progress_;
  QPushButton* convert_;
  QString folder_;
};

}  // namespace

int RunSeg2SuWindow(int argc, char** argv, const std::string& screenshot, const std::vector<std::string>& files,
                    const std::string& output) {
  QApplication app(argc, argv);
  Seg2SuWindow window;
  QStringList paths;
  for (const std::string& f : files) paths << QString::fromStdString(f);
  window.Add(paths);
  window.show();
  if (screenshot.empty()) return app.exec();
  QApplication::processEvents();
  const QString picture = QString::fromStdString(screenshot);
  if (!output.empty()) {
    window.SetOutput(QString::fromStdString(output));
    QString message = picture;
    message.insert(message.lastIndexOf('.') < 0 ? message.size() : message.lastIndexOf('.'), "-message");
    PressAndDrawDialog(window.ConvertButton(), message);
  }
  return window.grab().save(picture) ? 0 : 1;
}
