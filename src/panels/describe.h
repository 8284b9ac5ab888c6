#pragma once
// What a script writer needs to know of the panels without opening them:
// which panels exist, and the controls of each as its table sets them up.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexmor {

struct PanelSummary {
  std::string name;
  std::string caption;  // the window's caption before it loads
  bool built = true;    // false: the panel still opens as an empty window
  size_t controls = 0;
};

// Every panel, in the order of the registry.
std::vector<PanelSummary> DescribePanels();

// "Check1 kind=\"check box\" caption=\"...\" default=off ...": one line for
// each control of the panel, in the order of its table, before Form_Load.
// Nothing when no panel has that name.
std::optional<std::vector<std::string>> ControlLines(std::string_view panel);

}  // namespace vexmor
