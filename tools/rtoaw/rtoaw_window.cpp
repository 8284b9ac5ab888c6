#include "rtoaw_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <cmath>
#include <filesystem>

#include "tool_window.h"

#include "dzt_text.h"
#include "word_text.h"

namespace {

using namespace vexmor;

const char* const kTitle = "GSSI DZT to ASCII";

class RtoawWindow : public QWidget {
 public:
  RtoawWindow() {
    setWindowTitle(kTitle);
    auto* filesBox = new QGroupBox("Files");
    input_ = new QLineEdit;
    output_ = new QLineEdit;
    auto* chooseInput = new QPushButton("Input file...");
    auto* chooseOutput = new QPushButton("Output file...");
    auto* inputRow = new QHBoxLayout;
    inputRow->addWidget(input_, 1);
    inputRow->addWidget(chooseInput);
    auto* outputRow = new QHBoxLayout;
    outputRow->addWidget(output_, 1);
    outputRow->addWidget(chooseOutput);
    auto* files = new QFormLayout(filesBox);
    files->addRow("DZT radar file", inputRow);
    files->addRow("Column text (ASCII)", outputRow);

    auto* infoBox = new QGroupBox("What the file holds");
    samples_ = new QLabel("-");
    scans_ = new QLabel("-");
    format_ = new QLabel("-");
    auto* info = new QFormLayout(infoBox);
    info->addRow("Samples per scan", samples_);
    info->addRow("Scans", scans_);
    info->addRow("Data", format_);

    centre_ = new QCheckBox("Centre unsigned samples on zero");
    centre_->setChecked(true);
    words_ = new QCheckBox("Two samples to one word, as the direct DZT to SU conversion reads them");
    progress_ = new QProgressBar;
    progress_->setRange(0, 1);
    progress_->setValue(0);
    auto* buttons = new QDialogButtonBox;
    convert_ = buttons->addButton("Convert", QDialogButtonBox::AcceptRole);
    auto* exit = buttons->addButton("Exit", QDialogButtonBox::RejectRole);
    convert_->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(filesBox);
    layout->addWidget(infoBox);
    layout->addWidget(centre_);
    layout->addWidget(words_);
    layout->addWidget(progress_);
    layout->addStretch();
    layout->addWidget(buttons);

    connect(chooseInput, &QPushButton::clicked, this, [this] { ChooseInput(); });
    connect(chooseOutput, &QPushButton::clicked, this, [this] { ChooseOutput(); });
    // Only a name the user changed proposes a new output: leaving the field
    // alone must not undo an output chosen since.
    connect(input_, &QLineEdit::editingFinished, this, [this] {
      if (input_->text() != proposedFor_) SetInput(input_->text());
    });
    connect(words_, &QCheckBox::toggled, this, [this](bool on) {
      centre_->setEnabled(!on);
      ShowHeader();
    });
    connect(convert_, &QPushButton::clicked, this, [this] { Convert(); });
    connect(exit, &QPushButton::clicked, this, &QWidget::close);
    resize(560, 340);
    ShowHeader();
  }

  // The line edit says "editing finished" when it loses its focus, also while
  // the window goes; by then there is no window left to update.
  ~RtoawWindow() override { input_->disconnect(this); }

  void SetOutput(const QString& path) { output_->setText(path); }
  void SetWords(bool on) { words_->setChecked(on); }
  QPushButton* ConvertButton() { return convert_; }

  void SetInput(const QString& path) {
    input_->setText(path);
    proposedFor_ = path;
    if (!path.isEmpty()) {
      const std::vector<std::string> names = DztTextNames(path.toStdString(), "", 1, 0);
      output_->setText(QString::fromStdString(names[0]));
    }
    ShowHeader();
  }

 private:
  void ShowHeader() {
    const QString path = input_->text().trimmed();
    if (path.isEmpty()) {
      samples_->setText("-");
      scans_->setText("-");
      format_->setText("-");
      convert_->setEnabled(false);
      return;
    }
    try {
      const DztHeader h = ReadDztHeader(path.toStdString());
      // In word mode a row holds a word of two samples: half as many rows.
      const int rows = words_->isChecked() ? static_cast<int>(std::nearbyint(h.samplesPerScan / 2.0)) : h.samplesPerScan;
      samples_->setText(QString("<b>%1</b>  (remember it for the ASCII import)").arg(rows));
      scans_->setText(QString::number(h.scans));
      format_->setText(QString("%1 bits, %2 channel(s), time window %3 ns")
                           .arg(h.bits)
                           .arg(h.channels)
                           .arg(static_cast<double>(h.rangeNs)));
      convert_->setEnabled(true);
    } catch (const std::exception& e) {
      samples_->setText("-");
      scans_->setText("-");
      format_->setText(QString::fromStdString(e.what()));
      convert_->setEnabled(false);
    }
  }

  void ChooseInput() {
    const QString path = QFileDialog::getOpenFileName(this, "DZT file selection", QFileInfo(input_->text()).path(),
                                                      "Radar DZT (*.DZT *.dzt);;All files (*)");
    if (!path.isEmpty()) SetInput(path);
  }

  void ChooseOutput() {
    const QString path = QFileDialog::getSaveFileName(this, "ASCII file selection", output_->text(),
                                                      "TXT file (*.TXT *.txt);;All files (*)");
    if (!path.isEmpty()) output_->setText(path);
  }

  void Convert() {
    const QString input = input_->text().trimmed();
    const QString output = output_->text().trimmed();
    std::error_code ec;  // names that don't exist are no match
    if (std::filesystem::equivalent(input.toStdString(), output.toStdString(), ec)) {
      QMessageBox::warning(this, kTitle, "The output is the DZT file itself; choose another name.");
      return;
    }
    if (QFileInfo::exists(output) &&
        QMessageBox::question(this, kTitle, output + " already exists. Write over it?") != QMessageBox::Yes) {
      return;
    }
    setEnabled(false);
    if (words_->isChecked()) {
      try {
        const WordTextResult r = DztWordsToText(input.toStdString(), output.toStdString());
        setEnabled(true);
        QString text = "Conversion OK! " + output + " has been recorded.\n\n" +
                       QString("Samples per scan: %1. Remember this number: the ASCII import asks for it.")
                           .arg(r.words);
        for (const std::string& note : r.notes) text += "\n\n" + QString::fromStdString(note);
        QMessageBox::information(this, kTitle, text);
      } catch (const std::exception& e) {
        setEnabled(true);
        QMessageBox::critical(this, kTitle, QString::fromStdString(e.what()));
      }
      return;
    }
    try {
      DztToTextOptions options;
      options.centre = centre_->isChecked();
      const DztToTextResult r =
          DztToText(input.toStdString(), output.toStdString(), options, [this](int64_t done, int64_t all) {
            progress_->setRange(0, static_cast<int>(all));
            progress_->setValue(static_cast<int>(done));
            QApplication::processEvents();
          });
      setEnabled(true);
      QStringList written;
      for (const std::string& name : r.outputs) written << QString::fromStdString(name);
      QString text = "Conversion OK! " + written.join(", ") + " has been recorded.\n\n" +
                     QString("Samples per scan: %1. Remember this number: the ASCII import asks for it.")
                         .arg(r.header.samplesPerScan);
      for (const std::string& note : r.notes) text += "\n\n" + QString::fromStdString(note);
      QMessageBox::information(this, kTitle, text);
    } catch (const std::exception& e) {
      setEnabled(true);
      QMessageBox::critical(this, kTitle, QString::fromStdString(e.what()));
    }
  }

  QLineEdit* input_;
  QLineEdit* output_;
  QLabel* samples_;
  QLabel* scans_;
  QLabel* format_;
  QCheckBox* centre_;
  QCheckBox* words_;
  QProgressBar* progress_;
  QPushButton* convert_;
  QString proposedFor_;  // the input whose output name was last proposed
};

}  // namespace

int RunRtoawWindow(int argc, char** argv, const std::string& screenshot, const std::string& input,
                   const std::string& output, bool words) {
  QApplication app(argc, argv);
  RtoawWindow window;
  window.SetWords(words);
  if (!input.empty()) window.SetInput(QString::fromStdString(input));
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
