#include "layout_hints.h"

namespace vexmor {

namespace {

constexpr LayoutHint kHints[] = {
    // The long route list stands on the left, the three short ones beside it.
    {"MainPanel", "Frame3", "column", "Frame2"},
    {"MainPanel", "Frame4", "column", "Frame2"},
    // The first cell holds the folder of the selection.
    {"sisforme", "Grid1", "cell0twips", "5555"},
};

}  // namespace

std::optional<std::string_view> FindLayoutHint(std::string_view panel, std::string_view control,
                                               std::string_view key) {
  for (const LayoutHint& hint : kHints) {
    if (hint.panel == panel && hint.control == control && hint.key == key) return hint.value;
  }
  return std::nullopt;
}

}  // namespace vexmor
