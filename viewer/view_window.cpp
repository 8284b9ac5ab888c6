#include "view_window.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QStatusBar>
#include <QTableWidget>
#include <QToolBar>

#include "core/su_trace.h"

namespace vexmor::view {

namespace {
const char* kAllFilter =
    "Field files (*.sgy *.segy *.su *.dat *.sg2 *.seg2 *.sgd *.segd *.dzt *.rd3 *.rad *.dt1 *.hd *.evd);;All files (*)";
}

ViewWindow::ViewWindow(QString fileFilter, QWidget* parent) : QMainWindow(parent), filter_(std::move(fileFilter)) {
  setWindowTitle("vexmor-view");
  setAcceptDrops(true);
  view_ = new SectionView(this);
  setCentralWidget(view_);
  connect(view_, &SectionView::Hovered, this, &ViewWindow::ShowHover);

  headerTable_ = new QTableWidget(kSuWordCount, 2, this);
  headerTable_->setHorizontalHeaderLabels({"word", "value"});
  headerTable_->verticalHeader()->setVisible(false);
  headerTable_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  for (int k = 0; k < kSuWordCount; ++k) {
    const SuWord& w = SuWords()[size_t(k)];
    auto* name = new QTableWidgetItem(QString::fromStdString(std::string(w.name)));
    name->setToolTip(QString::fromStdString(std::string(w.text)));
    headerTable_->setItem(k, 0, name);
    headerTable_->setItem(k, 1, new QTableWidgetItem(""));
  }
  headerTable_->horizontalHeader()->setStretchLastSection(true);
  headerTable_->resizeRowsToContents();
  auto* dock = new QDockWidget("Trace header", this);
  dock->setObjectName("headerDock");
  dock->setWidget(headerTable_);
  addDockWidget(Qt::RightDockWidgetArea, dock);

  readout_ = new QLabel(this);
  notes_ = new QLabel(this);
  statusBar()->addWidget(readout_, 1);
  statusBar()->addPermanentWidget(notes_);
  BuildMenus();
  BuildToolBar();
  resize(1200, 760);
}

ViewWindow::~ViewWindow() = default;

void ViewWindow::BuildMenus() {
  QMenu* file = menuBar()->addMenu("&File");
  file->addAction("&Open...", QKeySequence::Open, this, &ViewWindow::ChooseFile);
  file->addAction("Export &PNG...", this, [this] {
    const QString path = QFileDialog::getSaveFileName(this, "Export PNG", {}, "PNG pictures (*.png)");
    if (!path.isEmpty()) ExportPng(path);
  });
  file->addAction("Export P&DF...", this, [this] {
    const QString path = QFileDialog::getSaveFileName(this, "Export PDF", {}, "PDF documents (*.pdf)");
    if (!path.isEmpty()) ExportPdf(path);
  });
  file->addSeparator();
  file->addAction("&Quit", QKeySequence::Quit, this, &QWidget::close);
  QMenu* view = menuBar()->addMenu("&View");
  view->addAction("&Whole file", this, [this] { view_->ShowWhole(); });
}

void ViewWindow::BuildToolBar() {
  QToolBar* bar = addToolBar("Display");
  bar->setObjectName("display");
  const auto spin = [this](double lo, double hi, double value, double step, const QString& tip) {
    auto* box = new QDoubleSpinBox(this);
    box->setRange(lo, hi);
    box->setValue(value);
    box->setSingleStep(step);
    box->setToolTip(tip);
    connect(box, &QDoubleSpinBox::valueChanged, this, &ViewWindow::SettingsChanged);
    return box;
  };
  const auto combo = [this](const QStringList& items, const QString& tip) {
    auto* box = new QComboBox(this);
    box->addItems(items);
    box->setToolTip(tip);
    connect(box, &QComboBox::currentIndexChanged, this, &ViewWindow::SettingsChanged);
    return box;
  };
  mode_ = combo({"Wiggle", "Image grey", "Image blue-white-red"}, "How the traces are drawn");
  scaling_ = combo({"Section scaling", "Trace scaling"}, "One scale for the whole section, or each trace its own");
  {
    const QSignalBlocker quiet(scaling_);
    scaling_->setCurrentIndex(1);
  }
  gain_ = combo({"No gain", "Time power", "AGC"}, "Gain along the trace");
  power_ = spin(0, 5, 2, 0.5, "Time-power exponent");
  agcWindow_ = spin(1, 100000, 250, 10, "AGC window (ms, ns for radar)");
  multiplier_ = spin(0.01, 1000, 1, 0.5, "Constant gain");
  clip_ = spin(50, 100, 99.5, 0.5, "Clip: the percentile of amplitudes shown at full scale");
  QStringList words{"trace number"};
  for (const SuWord& w : SuWords()) words << QString::fromStdString(std::string(w.name));
  xWord_ = combo(words, "What the trace axis shows");
  bar->addWidget(mode_);
  bar->addWidget(scaling_);
  bar->addWidget(gain_);
  bar->addWidget(new QLabel(" power ", this));
  bar->addWidget(power_);
  bar->addWidget(new QLabel(" window ", this));
  bar->addWidget(agcWindow_);
  bar->addWidget(new QLabel(" gain \u00d7 ", this));
  bar->addWidget(multiplier_);
  bar->addWidget(new QLabel(" clip % ", this));
  bar->addWidget(clip_);
  bar->addWidget(new QLabel(" axis ", this));
  bar->addWidget(xWord_);
  SettingsChanged();
}

void ViewWindow::SettingsChanged() {
  ViewSettings s = view_->Settings();
  s.mode = static_cast<Mode>(mode_->currentIndex());
  s.perTrace = scaling_->currentIndex() == 1;
  s.gain = static_cast<Gain>(gain_->currentIndex());
  s.power = power_->value();
  s.agcWindow = agcWindow_->value();
  s.multiplier = multiplier_->value();
  s.clipPercentile = clip_->value();
  s.xWord = xWord_->currentIndex() <= 0 ? std::string() : xWord_->currentText().toStdString();
  power_->setEnabled(s.gain == Gain::TimePower);
  agcWindow_->setEnabled(s.gain == Gain::Agc);
  view_->SetSettings(s);
}

bool ViewWindow::OpenFile(const QString& path) {
  std::unique_ptr<FieldFile> file;
  try {
    file = FieldFile::Open(path.toStdString());
  } catch (const std::exception& e) {
    statusBar()->showMessage(QString::fromStdString(e.what()));
    return false;
  }
  view_->SetFile(nullptr);
  file_ = std::move(file);
  const FieldInfo& info = file_->Info();
  // Dense sections and radar read best as an image.
  const bool image = info.radar || info.traces > 400;
  const QSignalBlocker blockMode(mode_);
  const QSignalBlocker blockScaling(scaling_);
  mode_->setCurrentIndex(image ? 1 : 0);
  scaling_->setCurrentIndex(image ? 0 : 1);
  agcWindow_->setValue(info.radar ? 20 : 250);
  SettingsChanged();
  view_->SetFile(file_.get());
  setWindowTitle(QFileInfo(path).fileName() + " - vexmor-view");
  statusBar()->clearMessage();
  readout_->setText(QString("%1: %2 traces of %3 samples, %4 %5 a sample")
                        .arg(QString::fromStdString(info.name))
                        .arg(info.traces)
                        .arg(info.samples)
                        .arg(SampleTime(info, 1.0))
                        .arg(TimeUnit(info)));
  ShowNotes();
  return true;
}

void ViewWindow::ChooseFile() {
  QString selected = filter_;
  const QString filters = filter_.isEmpty() ? QString(kAllFilter) : filter_ + ";;" + kAllFilter;
  const QString path = QFileDialog::getOpenFileName(this, "Open a field file", {}, filters, &selected);
  if (!path.isEmpty()) OpenFile(path);
}

void ViewWindow::ShowNotes() {
  if (file_ == nullptr) return;
  const auto& notes = file_->Notes();
  notes_->setText(notes.empty() ? QString() : QString::fromStdString(notes.back()));
  notes_->setToolTip([&] {
    QString all;
    for (const auto& n : notes) all += QString::fromStdString(n) + "\n";
    return all.trimmed();
  }());
}

void ViewWindow::ShowHover(int64_t trace, int64_t sample) {
  if (file_ == nullptr || trace < 0 || trace >= file_->Info().traces || sample < 0 ||
      sample >= file_->Info().samples) {
    return;
  }
  const FieldInfo& info = file_->Info();
  const TraceCache::Trace& t = view_->Cache()->Get(trace);
  readout_->setText(QString("trace %1   time %2 %3   amplitude %4")
                        .arg(trace + 1)
                        .arg(SampleTime(info, double(sample)), 0, 'f', 3)
                        .arg(TimeUnit(info))
                        .arg(double(t.samples[size_t(sample)]), 0, 'g', 6));
  for (int k = 0; k < kSuWordCount; ++k) {
    const SuWord& w = SuWords()[size_t(k)];
    headerTable_->item(k, 1)->setText(QString::number(GetWord(t.header.data(), w), 'g', 9));
  }
  ShowNotes();
}

bool ViewWindow::ExportPng(const QString& path) {
  if (file_ == nullptr) return false;
  QImage image(view_->size(), QImage::Format_RGB32);
  QPainter painter(&image);
  RenderSection(painter, image.rect(), *view_->Cache(), view_->Settings(), view_->Range());
  painter.end();
  const bool ok = image.save(path, "PNG");
  statusBar()->showMessage(ok ? "Saved " + path : "Could not write " + path);
  return ok;
}

bool ViewWindow::ExportPdf(const QString& path) {
  if (file_ == nullptr) return false;
  QPdfWriter pdf(path);
  pdf.setPageSize(QPageSize(QPageSize::A4));
  pdf.setPageOrientation(QPageLayout::Landscape);
  pdf.setResolution(150);
  QPainter painter;
  if (!painter.begin(&pdf)) {
    statusBar()->showMessage("Could not write " + path);
    return false;
  }
  RenderSection(painter, QRect(QPoint(0, 0), QSize(pdf.width(), pdf.height())), *view_->Cache(), view_->Settings(),
                view_->Range());
  painter.end();
  statusBar()->showMessage("Saved " + path);
  return true;
}

void ViewWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void ViewWindow::dropEvent(QDropEvent* event) {
  const auto urls = event->mimeData()->urls();
  if (!urls.isEmpty() && urls.front().isLocalFile()) OpenFile(urls.front().toLocalFile());
}

}  // namespace vexmor::view
