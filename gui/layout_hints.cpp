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
    {"Bison", "Command4", "beside", "Text2"},
    {"DOLANG", "Command3", "beside", "Text8"},
    {"DOLANG", "Command5", "beside", "Text5"},
    {"pasi", "Command4", "beside", "Text2"},
    {"Ambrogeo", "Command4", "beside", "Text2"},
    // Radar panels: each path with the button that chooses it.
    {"DT1", "Command1", "beside", "Text1"},
    {"DT1", "Command2", "beside", "Text2"},
    {"DZT_old", "Command1", "beside", "Text1"},
    {"DZT_old", "Command2", "beside", "Text2"},
    {"ASCII2SU", "Command1", "beside", "Text1"},
    {"ASCII2SU", "Command2", "beside", "Text2"},
    {"DT1", "Text1", "minwidth", "360"},
    {"SU2SGY", "Text3", "minwidth", "360"},
    {"SU2SGY", "Text4", "minwidth", "360"},
    {"SU2SGY", "Text5", "minwidth", "360"},
    {"SU2SGY", "Text6", "minwidth", "360"},
    {"SU2SGY", "Text7", "minwidth", "360"},
    {"SU2SGY", "Text8", "minwidth", "360"},
    {"DZT_old", "Text1", "minwidth", "360"},
    {"ASCII2SU", "Text1", "minwidth", "360"},
    // The guide's steps stand one under the other, below rtoaw's picture.
    {"DZT2", "Command3", "row", "alone"},
    {"DZT2", "Command3", "wrap", "70"},
    {"DZT2", "Command1", "row", "alone"},
    {"DZT2", "Command2", "row", "alone"},
    // Each path with the button that chooses it.
    {"Convert", "Command3", "beside", "Text1"},
    {"Convert", "Command4", "beside", "Text2"},
    {"Convert", "Text1", "twips", "5400"},
    {"Convert", "Text2", "twips", "5400"},
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
