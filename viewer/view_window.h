#pragma once
// The viewer's window: the section, a tool bar of display settings, the
// read-out in the status bar and every SU header word of the trace under
// the cursor in a side table.
#include <QMainWindow>

#include <memory>
#include <string>

#include "section_view.h"

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QTableWidget;

namespace vexmor::view {

class ViewWindow : public QMainWindow {
  Q_OBJECT

 public:
  // fileFilter: the file type the Open dialog offers first.
  explicit ViewWindow(QString fileFilter = {}, QWidget* parent = nullptr);
  ~ViewWindow() override;
  // Opens a file; a file that can't be read is told in the status bar and
  // the window stays as it was. Gives whether it opened.
  bool OpenFile(const QString& path);
  void ChooseFile();
  SectionView* View() { return view_; }
  bool ExportPng(const QString& path);
  bool ExportPdf(const QString& path);

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void BuildMenus();
  void BuildToolBar();
  void SettingsChanged();
  void ShowHover(int64_t trace, int64_t sample);
  void ShowNotes();

  QString filter_;
  std::unique_ptr<FieldFile> file_;
  SectionView* view_ = nullptr;
  QTableWidget* headerTable_ = nullptr;
  QLabel* readout_ = nullptr;
  QLabel* notes_ = nullptr;
  QComboBox* mode_ = nullptr;
  QComboBox* scaling_ = nullptr;
  QComboBox* gain_ = nullptr;
  QDoubleSpinBox* power_ = nullptr;
  QDoubleSpinBox* agcWindow_ = nullptr;
  QDoubleSpinBox* multiplier_ = nullptr;
  QDoubleSpinBox* clip_ = nullptr;
  QComboBox* xWord_ = nullptr;
};

}  // namespace vexmor::view
