#pragma once
// Every panel of the system, by its name: the one list of them.
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "panels/session.h"

namespace vexmor {

struct PanelType {
  std::string_view name;
  Session::Loaded (*make)(Session& session, std::string_view name);
};

std::span<const PanelType> PanelTypes();
const PanelType* FindPanelType(std::string_view name);
// The panel's own spelling of a name typed in any letter case ("segy" is
// SEGY), for the command lines; scripts keep the exact names. A name that
// matches no panel comes back as it is.
std::string PanelNameAnyCase(std::string_view name);

// Makes a panel whose struct P has a member `Form form` and a constructor
// taking the session.
template <typename P>
Session::Loaded MakePanel(Session& session, std::string_view) {
  auto panel = std::make_shared<P>(session);
  return Session::Loaded{panel, &panel->form, false};
}

// A panel that is not built yet: a window of that name with no controls.
Session::Loaded MakeEmptyPanel(Session& session, std::string_view name);

}  // namespace vexmor
