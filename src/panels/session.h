#pragma once
// The running system: the shared values, the platform, and the panels that
// are loaded. Panels open beside each other and share SharedState.
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/shared_state.h"
#include "panels/form.h"
#include "platform/platform.h"

namespace vexmor {

class Session {
 public:
  Session(Platform& platform, SharedState& state) : platform_(platform), state_(state) {}
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Platform& GetPlatform() { return platform_; }
  SharedState& State() { return state_; }

  // Loads the panel if it is not loaded (running its Form_Load) and shows
  // it. Throws std::out_of_range for a name that no panel has.
  Form& Open(std::string_view name);
  // Unloads the panel (running its Form_Unload). Closing MainPanel ends the
  // system: every other panel goes with it, without its unload.
  void Close(std::string_view name);
  // Hides a panel, which stays loaded.
  void Hide(std::string_view name);

  Form* Find(std::string_view name);           // loaded panel, or nullptr
  bool IsShown(std::string_view name) const;
  std::vector<std::string> ShownPanels() const;
  bool Ended() const { return ended_; }

  // The panel object behind a loaded form (for tests and fronts that need
  // the panel's own operations), or nullptr.
  template <typename P>
  P* Panel(std::string_view name) {
    for (auto& entry : loaded_) {
      if (entry.form->Name() == name) return static_cast<P*>(entry.object.get());
    }
    return nullptr;
  }

  // Fronts hang their windows and transcript here.
  std::function<void(Form&)> onShown;
  std::function<void(Form&)> onHidden;   // hidden or closed
  std::function<void()> onEnded;

  // Event bookkeeping: panels closed inside an event are destroyed once the
  // outermost event has returned.
  void EnterEvent() { ++eventDepth_; }
  void LeaveEvent();
  void ReportUnhandled(const std::string& text);

  struct Loaded {
    std::shared_ptr<void> object;
    Form* form;
    bool shown = false;
  };

 private:
  void Collect();
  Platform& platform_;
  SharedState& state_;
  std::vector<Loaded> loaded_;
  std::vector<Loaded> closing_;
  int eventDepth_ = 0;
  bool ended_ = false;
};

}  // namespace vexmor
