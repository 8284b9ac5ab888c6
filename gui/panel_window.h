#pragma once
// The window of a panel, built from its control table: frames become group
// boxes, texts get their label beside them, options of a frame exclude each
// other, and so on. Each widget is bound to its control both ways: the
// control's view hook redraws the widget, the widget's signals change the
// control as a user's action does. The panel's logic never sees a widget.
#include <QWidget>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "panels/form.h"

class QAction;
class QButtonGroup;
class QFormLayout;
class QLabel;
class QTimer;
class QToolBar;

namespace vexmor {

class PanelWindow : public QWidget {
 public:
  // Scripted windows leave their timers to the script's `tick`, so that a
  // script runs the same on screen as without one.
  PanelWindow(Form& form, bool scripted);
  ~PanelWindow() override;

  Form& GetForm() const { return *form_; }
  // The widget bound to a control, nullptr for one without a widget.
  QWidget* WidgetOf(const std::string& control) const;
  QLabel* LabelOf(const std::string& control) const;
  QAction* ActionOf(const std::string& control, const std::string& key = {}) const;
  QTimer* TimerOf(const std::string& control) const;

  // The panel is going: no more hooks into its controls, no more events.
  void Detach();
  bool Detached() const { return form_ == nullptr; }

  // Called when the user closes the window; the front unloads the panel.
  std::function<void(PanelWindow&)> onUserClose;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  struct Bound {
    Control* control = nullptr;
    QWidget* widget = nullptr;    // the control's widget, if it has one
    QLabel* beside = nullptr;     // the label beside a text
    QFormLayout* rows = nullptr;  // the form layout of its row, if any
    QWidget* rowWidget = nullptr; // the field with its neighbours, if any
    QButtonGroup* group = nullptr;
    QAction* action = nullptr;    // menu entry
    QToolBar* toolbar = nullptr;
    QTimer* timer = nullptr;
    bool pending = false;         // a redraw is on its way
    std::string shownText;        // rich text: what the widget holds
    size_t shownSelStart = 0;     // rich text: the selection it shows
    size_t shownSelLength = 0;
    bool fromWidget = false;      // rich text: the change comes from it
  };
  struct Container;

  void Build();
  QWidget* MakeWidget(Bound& b);
  void Place(Bound& b, Container& into);
  QWidget* FieldWithNeighbours(Bound& b);
  Container& ContainerOf(const Control& c);
  void Refresh(Bound& b);
  void Connect(Bound& b);
  void InstallFilters(Bound& b);
  // The selections the user made in the rich texts, into their controls.
  void TakeSelections();
  void TakeSelection(Bound& b);
  // Runs f only while the panel is loaded and the change came from the user.
  template <typename F>
  void FromUser(F&& f) {
    if (form_ != nullptr && syncing_ == 0) f();
  }

  Form* form_;
  bool scripted_;
  int syncing_ = 0;
  std::vector<Bound> bound_;
  std::map<std::string, size_t, std::less<>> byName_;
  std::map<std::string, std::unique_ptr<Container>, std::less<>> containers_;
  std::unique_ptr<Container> root_;
  std::map<std::string, QButtonGroup*> groups_;
  std::set<std::string, std::less<>> placedBeside_;
};

}  // namespace vexmor
