#include "core/text.h"

#include <algorithm>
#include <cctype>

#include "core/numbers.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "platform/platform.h"

namespace vexmor {

std::string ToUpper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

int KeyFilter(int& key, std::string_view allowed, bool allowBackspace, Platform& platform) {
  const auto fold = [](int c) { return c >= 0 && c < 256 ? std::toupper(c) : c; };
  bool ok = allowBackspace && key == kBackspace;
  for (char c : allowed) {
    if (fold(static_cast<unsigned char>(c)) == fold(key)) ok = true;
  }
  if (!ok) {
    key = 0;
    platform.Beep();
  }
  return key;
}

void ReadTaggedValue(std::string& text, std::string& tag, std::optional<double>& value, Platform& platform) {
  text = ToUpper(std::move(text));
  tag = ToUpper(std::move(tag));
  const size_t p = tag.empty() ? std::string::npos : text.find(tag);
  if (p == std::string::npos) {
    platform.Beep();
    return;
  }
  std::string gathered;
  for (size_t i = p + tag.size(); i <= p + 60; ++i) {
    if (i >= text.size() || text[i] == '\r') {
      value = LeadingNumber(gathered);
      return;
    }
    const char c = text[i];
    if ((c >= '0' && c <= '9') || c == '.') gathered += c;
  }
}

void ReplaceAll(std::string& text, std::string_view find, std::string_view with) {
  if (find.empty()) return;
  // A replacement that holds the searched text behind its first character
  // would be matched again forever (the editor passes what the user typed):
  // then the search goes on behind what was put in.
  const size_t step = with.find(find, 1) == std::string_view::npos ? 1 : std::max<size_t>(with.size(), 1);
  // The text as rebuilt so far is out + pending + text[pos..]: pending holds
  // the tail of a replacement that a later match may still run into. Built
  // this way, a large text with many matches costs one pass, not one copy
  // of the whole text for each match.
  std::string out;
  std::string pending;
  size_t pos = 0;
  const auto advance = [&](size_t n) {
    if (n <= pending.size()) {
      pending.erase(0, n);
    } else {
      pos = std::min(text.size(), pos + (n - pending.size()));
      pending.clear();
    }
  };
  const auto commit = [&](size_t n) {
    const size_t fromPending = std::min(n, pending.size());
    out.append(pending, 0, fromPending);
    out.append(text, pos, std::min(n - fromPending, text.size() - std::min(pos, text.size())));
    advance(n);
  };
  for (;;) {
    // The first match: within pending or across its end, else in the text.
    size_t match = std::string::npos;
    if (!pending.empty()) {
      const std::string head = pending + text.substr(pos, find.size() - 1);
      match = head.find(find);
    }
    if (match == std::string::npos) {
      const size_t at = text.find(find, pos);
      if (at != std::string::npos) match = pending.size() + (at - pos);
    }
    if (match == std::string::npos) break;
    commit(match);
    advance(find.size());
    pending.insert(0, with);
    commit(step);
  }
  out += pending;
  out.append(text, std::min(pos, text.size()), std::string::npos);
  text = std::move(out);
}

void FolderPart(const std::string& path, SharedState& state) { state.FolderOf = FolderOf(path); }

void FindToolDir(SharedState& state, Platform& platform) {
  state.ToolDir = platform.ReadIniString("TARVIX_SU", "Directory1", "C:\\tarvix\\bin\\", "Tarvix.ini", 90);
  if (FileExists(state.ToolDir + "segyread.exe") == 1) return;
  state.ToolDir = platform.ProgramFolder() + kSep;
}

std::string BareLfAsCr(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const bool bareLf = text[i] == '\n' && (i == 0 || text[i - 1] != '\r');
    out += bareLf ? '\r' : text[i];
  }
  return out;
}

}  // namespace vexmor
