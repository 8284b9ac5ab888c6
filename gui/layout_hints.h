#pragma once
// The few layout wishes that a control table cannot say by itself. Every
// window is built from its panel's table; a row here only nudges where a
// frame stands or how wide a grid cell starts.
#include <optional>
#include <string_view>
#include <vector>

namespace vexmor {

struct LayoutHint {
  std::string_view panel;
  std::string_view control;
  std::string_view key;    // "column": stack this frame under the frame named in value
                           // "beside": stand on the right of the text named in value
                           // "cell0twips": width of the first grid cell, in twips
                           // "twips": least width of a text field, in twips
                           // "bold": the widget's text in bold
                           // "minsize": "WxH", the widget's least size in pixels
  std::string_view value;
};

// The controls whose "beside" hint names this one.
std::vector<std::string_view> ControlsBeside(std::string_view panel, std::string_view control);

std::optional<std::string_view> FindLayoutHint(std::string_view panel, std::string_view control,
                                               std::string_view key);

}  // namespace vexmor
