#include "core/shared_state.h"

#include <functional>
#include <map>

namespace vexmor {

bool ReadStateField(const SharedState& s, const std::string& name, StateField& out) {
  using Reader = std::function<StateField(const SharedState&)>;
  auto text = [](auto member) { return Reader([member](const SharedState& st) { return StateField{true, st.*member}; }); };
  auto number = [](auto member) {
    return Reader([member](const SharedState& st) { return StateField{false, std::to_string(st.*member)}; });
  };
  static const std::map<std::string, Reader> fields = {
      {"InputFile", text(&SharedState::InputFile)},       {"OutputFile", text(&SharedState::OutputFile)},
      {"SuFile", text(&SharedState::SuFile)},             {"NbSamples", number(&SharedState::NbSamples)},
      {"SampleInterval", number(&SharedState::SampleInterval)},
      {"NbTraces", number(&SharedState::NbTraces)},       {"NbChannels", number(&SharedState::NbChannels)},
      {"NbRecords", number(&SharedState::NbRecords)},     {"TracePos", number(&SharedState::TracePos)},
      {"TraceTotal", number(&SharedState::TraceTotal)},
      {"ToolDir", text(&SharedState::ToolDir)},           {"FolderOf", text(&SharedState::FolderOf)},
      {"CommandPrefix", text(&SharedState::CommandPrefix)}, {"NewLine", text(&SharedState::NewLine)},
      {"ConvertMode", text(&SharedState::ConvertMode)},   {"EditorFile", text(&SharedState::EditorFile)},
  };
  const auto it = fields.find(name);
  if (it == fields.end()) return false;
  out = it->second(s);
  return true;
}

}  // namespace vexmor
