#include "platform/transcript.h"

#include "platform/platform.h"

namespace vexmor {

std::string Quote(std::string_view text) {
  std::string out = "\"";
  for (char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\r': out += "\\r"; break;
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      default: out += c;
    }
  }
  return out + "\"";
}

namespace transcript {

std::string Opened(std::string_view panel) { return "opened " + std::string(panel); }
std::string Closed(std::string_view panel) { return "closed " + std::string(panel); }

std::string Message(std::string_view text, int buttons, std::string_view title, int answer) {
  return "message " + Quote(text) + " buttons=" + std::to_string(buttons) + " title=" + Quote(title) +
         " -> " + std::to_string(answer);
}

std::string Prompt(std::string_view prompt, std::string_view title, std::string_view def, std::string_view answer) {
  return "prompt " + Quote(prompt) + " title=" + Quote(title) + " default=" + Quote(def) + " -> " + Quote(answer);
}

std::string Dialog(const FileRequest& r, std::string_view answer) {
  return "dialog " + Quote(r.title) + " filter=" + Quote(r.filter) + " file=" + Quote(r.fileName) +
         " folder=" + Quote(r.folder) + " multi=" + (r.multi ? "1" : "0") + " save=" + (r.save ? "1" : "0") +
         " -> " + Quote(answer);
}

std::string Shell(std::string_view command, int style, int task) {
  return "shell " + Quote(command) + " style=" + std::to_string(style) + " -> " + std::to_string(task);
}

std::string ShellOpen(std::string_view program, std::string_view folder, int result) {
  return "shellopen " + Quote(program) + " folder=" + Quote(folder) + " -> " + std::to_string(result);
}

std::string Beep() { return "beep"; }

}  // namespace transcript
}  // namespace vexmor
