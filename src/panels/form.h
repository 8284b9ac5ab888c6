#pragma once
// A loaded panel as the screen sees it: its caption, its controls in the
// order of its control table, and which operation each event runs.
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "panels/control.h"

namespace vexmor {

class Session;

// What an event carries beyond its name.
struct EventArgs {
  int key = 0;          // KeyPress: the key code, set to 0 to swallow it
  double x = 0, y = 0;  // MouseMove, in the surface's user units
  std::string itemKey;  // ButtonClick of a tool bar: the button's key
};

using EventHandler = std::function<void(EventArgs&)>;

// The pseudo-control name under which Load and Unload are declared.
inline constexpr std::string_view kFormEvents = "Form";

class Form {
 public:
  Form(Session& session, std::string name, std::string caption, std::span<const ControlDef> controls);
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& Caption() const { return caption_; }
  void SetCaption(std::string caption);
  Session& Owner() const { return *session_; }

  // The control of that name; an unknown name throws std::out_of_range.
  Control& operator[](std::string_view name);
  Control* Find(std::string_view name);
  std::deque<Control>& Controls() { return controls_; }

  void On(std::string_view control, std::string_view event, EventHandler handler);
  bool Handles(std::string_view control, std::string_view event) const;
  // Runs the operation bound to the event, if any. A run-time failure that
  // escapes an operation is shown to the user and goes no further.
  bool Raise(std::string_view control, std::string_view event, EventArgs& args);
  bool Raise(std::string_view control, std::string_view event) {
    EventArgs args;
    return Raise(control, event, args);
  }

  void SetCaptionHook(std::function<void(Form&)> hook) { captionHook_ = std::move(hook); }

 private:
  Session* session_;
  std::string name_;
  std::string caption_;
  std::deque<Control> controls_;  // stable addresses
  std::map<std::string, EventHandler, std::less<>> handlers_;
  std::function<void(Form&)> captionHook_;
};

// Declares which operation of panel P an event runs, as data:
//   constexpr EventRow<MainPanel> kEvents[] = {{"Command2", "Click", Op<&MainPanel::Command2_Click>}};
template <typename P>
struct EventRow {
  std::string_view control;
  std::string_view event;
  void (*run)(P&, EventArgs&);
};

// Adapters from a panel's member operation to an event row.
template <auto Method, typename P>
void Op(P& panel, EventArgs&) { (panel.*Method)(); }
template <auto Method, typename P>
void OpArgs(P& panel, EventArgs& args) { (panel.*Method)(args); }

template <typename P>
void BindEvents(Form& form, P& panel, std::span<const EventRow<P>> rows) {
  for (const EventRow<P>& row : rows) {
    auto run = row.run;
    form.On(row.control, row.event, [&panel, run](EventArgs& args) { run(panel, args); });
  }
}

}  // namespace vexmor
