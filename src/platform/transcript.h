#pragma once
// The transcript of a panel script: one line for each thing the user would
// see or hear, texts double-quoted with \" \\ \r \n \t escapes.
#include <functional>
#include <string>
#include <string_view>

namespace vexmor {

struct FileRequest;

std::string Quote(std::string_view text);

namespace transcript {
std::string Opened(std::string_view panel);
std::string Closed(std::string_view panel);
std::string Message(std::string_view text, int buttons, std::string_view title, int answer);
std::string Prompt(std::string_view prompt, std::string_view title, std::string_view def, std::string_view answer);
std::string Dialog(const FileRequest& request, std::string_view answer);
std::string Shell(std::string_view command, int style, int task);
std::string ShellOpen(std::string_view program, std::string_view folder, int result);
std::string Beep();
}  // namespace transcript

// Where transcript lines go; empty means nowhere.
using TranscriptSink = std::function<void(const std::string& line)>;

}  // namespace vexmor
