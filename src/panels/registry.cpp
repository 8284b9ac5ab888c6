#include "panels/registry.h"

#include "panels/main_panel.h"

namespace vexmor {

namespace {

constexpr PanelType kPanels[] = {
    {"MainPanel", MakePanel<MainPanel>},
};

}  // namespace

std::span<const PanelType> PanelTypes() { return kPanels; }

const PanelType* FindPanelType(std::string_view name) {
  for (const PanelType& type : kPanels) {
    if (type.name == name) return &type;
  }
  return nullptr;
}

}  // namespace vexmor
