#pragma once
// The few layout wishes that a control table cannot say by itself. Every
// window is built from its panel's table; a row here only nudges where a
// frame stands or how wide a grid cell starts.
#include <optional>
#include <string_view>

namespace vexmor {

struct LayoutHint {
  std::string_view panel;
  std::string_view control;
  std::string_view key;    // "column": stack this frame under the frame named in value
                           // "cell0twips": width of the first grid cell, in twips
  std::string_view value;
};

std::optional<std::string_view> FindLayoutHint(std::string_view panel, std::string_view control,
                                               std::string_view key);

}  // namespace vexmor
