#include "panels/form.h"

#include <stdexcept>

#include "core/failure.h"
#include "panels/session.h"
#include "platform/platform.h"

namespace vexmor {

namespace {
std::string Key(std::string_view control, std::string_view event) {
  return std::string(control) + "." + std::string(event);
}
}  // namespace

Form::Form(Session& session, std::string name, std::string caption, std::span<const ControlDef> controls)
    : session_(&session), name_(std::move(name)), caption_(std::move(caption)) {
  for (const ControlDef& def : controls) controls_.emplace_back(*this, def);
}

void Form::SetCaption(std::string caption) {
  caption_ = std::move(caption);
  if (captionHook_) captionHook_(*this);
}

Control* Form::Find(std::string_view name) {
  for (Control& c : controls_) {
    if (c.Name() == name) return &c;
  }
  return nullptr;
}

Control& Form::operator[](std::string_view name) {
  Control* c = Find(name);
  if (c == nullptr) throw std::out_of_range(name_ + " has no control " + std::string(name));
  return *c;
}

void Form::On(std::string_view control, std::string_view event, EventHandler handler) {
  handlers_[Key(control, event)] = std::move(handler);
}

bool Form::Handles(std::string_view control, std::string_view event) const {
  return handlers_.find(Key(control, event)) != handlers_.end();
}

bool Form::Raise(std::string_view control, std::string_view event, EventArgs& args) {
  const auto it = handlers_.find(Key(control, event));
  if (it == handlers_.end()) return false;
  // A copy: the handler may close this very panel.
  const EventHandler handler = it->second;
  Session& session = *session_;
  session.EnterEvent();
  try {
    handler(args);
  } catch (const RunTimeFailure& failure) {
    session.ReportUnhandled("Run-time error " + std::to_string(failure.Number()) + ": " + failure.what());
  } catch (const std::exception& error) {
    session.ReportUnhandled(std::string("Unexpected error: ") + error.what());
  }
  session.LeaveEvent();
  return true;
}

}  // namespace vexmor
