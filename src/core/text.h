#pragma once
// Small text helpers that the panels share.
#include <optional>
#include <string>
#include <string_view>

namespace vexmor {

class Platform;
struct SharedState;

inline constexpr int kBackspace = 8;

// The key code if its character is in the set (letter case ignored; with
// backspace added when allowBackspace), else 0 and a beep.
int KeyFilter(int& key, std::string_view allowed, bool allowBackspace, Platform& platform);

// Reads the number behind a tag in a header text. Text and tag come back in
// upper case. Digits and points up to the first CR (or the end of the text)
// within 60 characters of the tag's start make the number; every other
// character is passed over. No tag: a beep, and no value; no CR within the
// window: no value.
void ReadTaggedValue(std::string& text, std::string& tag, std::optional<double>& value, Platform& platform);
// Header texts copied through other systems may end their lines in LF
// alone; ReadTaggedValue stops at a CR, so each bare LF becomes one.
std::string BareLfAsCr(std::string_view text);

// Replaces every match, searching again from one character behind the start
// of the last match, so that a match can form with the tail of what was put
// in. A replacement that holds the searched text behind its first
// character is put in once for each match, the search going on behind it.
void ReplaceAll(std::string& text, std::string_view find, std::string_view with);

// Sets FolderOf: the path up to and including its last separator, or its
// first two characters when it has none.
void FolderPart(const std::string& path, SharedState& state);

// Sets ToolDir: the "Directory1" key of section "TARVIX_SU" of Tarvix.ini
// when segyread is found there, else the program's own folder.
void FindToolDir(SharedState& state, Platform& platform);

std::string ToUpper(std::string text);

}  // namespace vexmor
