#include "layout_hints.h"

namespace vexmor {

namespace {

constexpr LayoutHint kHints[] = {
    // The long route list stands on the left, the three short ones beside it.
    {"MainPanel", "Frame3", "column", "Frame2"},
    {"MainPanel", "Frame4", "column", "Frame2"},
    // The first cell holds the folder of the selection.
    {"sisforme", "Grid1", "cell0twips", "5555"},
    // The output path with the button that chooses it.
    {"sisforme", "Command4", "beside", "Text2"},
    {"Add_SU_files", "Command4", "beside", "Text2"},
    // The value read stands out.
    {"pick", "Text3", "bold", "1"},
    // Room for a page of a job script.
    {"editor", "RichTextBox1", "minsize", "640x400"},
};

}  // namespace

std::optional<std::string_view> FindLayoutHint(std::string_view panel, std::string_view control,
                                               std::string_view key) {
  for (const LayoutHint& hint : kHints) {
    if (hint.panel == panel && hint.control == control && hint.key == key) return hint.value;
  }
  return std::nullopt;
}

std::vector<std::string_view> ControlsBeside(std::string_view panel, std::string_view control) {
  std::vector<std::string_view> names;
  for (const LayoutHint& hint : kHints) {
    if (hint.panel == panel && hint.key == "beside" && hint.value == control) names.push_back(hint.control);
  }
  return names;
}

}  // namespace vexmor
