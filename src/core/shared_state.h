#pragma once
// The values that the panels share, alive as long as the system.
#include <cstdint>
#include <string>

namespace vexmor {

struct SharedState {
  std::string InputFile;
  std::string OutputFile;
  std::string SuFile;
  int32_t NbSamples = 0;
  int16_t SampleInterval = 0;
  int32_t NbTraces = 0;
  int16_t NbChannels = 0;
  int16_t NbRecords = 0;
  int32_t TracePos = 0;
  int32_t TraceTotal = 0;     // traces of the ASCII import
  std::string ToolDir;        // with its closing separator
  std::string FolderOf;       // with its closing separator; may be empty
  std::string CommandPrefix;  // "command.com /c " or empty
  std::string NewLine;        // CR LF
  std::string ConvertMode;
  std::string EditorFile;
};

// A field of SharedState by its name, as text for the transcript: strings
// quoted, numbers plain. Empty optional for an unknown name.
struct StateField {
  bool isText;
  std::string text;   // the string, or the number's digits
};
bool ReadStateField(const SharedState& state, const std::string& name, StateField& out);

}  // namespace vexmor
