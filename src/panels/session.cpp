#include "panels/session.h"

#include <algorithm>
#include <stdexcept>

#include "panels/registry.h"

namespace vexmor {

Session::~Session() {
  // Windows go before the panels they show.
  onShown = nullptr;
  onHidden = nullptr;
  onEnded = nullptr;
}

Form* Session::Find(std::string_view name) {
  for (auto& entry : loaded_) {
    if (entry.form->Name() == name) return entry.form;
  }
  return nullptr;
}

bool Session::IsShown(std::string_view name) const {
  return std::any_of(loaded_.begin(), loaded_.end(),
                     [&](const Loaded& e) { return e.form->Name() == name && e.shown; });
}

std::vector<std::string> Session::ShownPanels() const {
  std::vector<std::string> names;
  for (const auto& e : loaded_) {
    if (e.shown) names.push_back(e.form->Name());
  }
  return names;
}

Form& Session::Open(std::string_view name) {
  auto it = std::find_if(loaded_.begin(), loaded_.end(), [&](const Loaded& e) { return e.form->Name() == name; });
  if (it == loaded_.end()) {
    const PanelType* type = FindPanelType(name);
    if (type == nullptr) throw std::out_of_range("no panel named " + std::string(name));
    loaded_.push_back(type->make(*this, type->name));
    Form& form = *loaded_.back().form;
    form.Raise(kFormEvents, "Load");
    // Form_Load may have closed the panel again.
    it = std::find_if(loaded_.begin(), loaded_.end(), [&](const Loaded& e) { return e.form == &form; });
    if (it == loaded_.end()) return form;
  }
  if (!it->shown) {
    it->shown = true;
    if (onShown) onShown(*it->form);
  }
  return *it->form;
}

void Session::Hide(std::string_view name) {
  for (auto& e : loaded_) {
    if (e.form->Name() == name && e.shown) {
      e.shown = false;
      if (onHidden) onHidden(*e.form);
    }
  }
}

void Session::Close(std::string_view name) {
  auto it = std::find_if(loaded_.begin(), loaded_.end(), [&](const Loaded& e) { return e.form->Name() == name; });
  if (it == loaded_.end()) return;
  Loaded entry = *it;
  loaded_.erase(it);
  const bool ending = name == "MainPanel";
  entry.form->Raise(kFormEvents, "Unload");
  if (entry.shown && onHidden) onHidden(*entry.form);
  closing_.push_back(entry);
  if (ending) {
    ended_ = true;
    for (auto& other : loaded_) {
      if (other.shown && onHidden) onHidden(*other.form);
      closing_.push_back(other);
    }
    loaded_.clear();
    if (onEnded) onEnded();
  }
  if (eventDepth_ == 0) Collect();
}

void Session::LeaveEvent() {
  if (--eventDepth_ == 0) Collect();
}

void Session::Collect() { closing_.clear(); }

void Session::ReportUnhandled(const std::string& text) {
  platform_.MessageBox(text, 16, "");
}

}  // namespace vexmor
