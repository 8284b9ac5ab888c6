#include "panels/script.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include "core/numbers.h"
#include "panels/registry.h"

namespace vexmor {

std::string ScriptError::OneLine(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '\r': out += "\\r"; break;
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
          static const char kHex[] = "0123456789ABCDEF";
          out += "\\x";
          out += kHex[(static_cast<unsigned char>(c) >> 4) & 0xF];
          out += kHex[static_cast<unsigned char>(c) & 0xF];
        } else {
          out += c;
        }
    }
  }
  return out;
}

std::vector<std::string> SplitScriptWords(std::string_view line) {
  std::vector<std::string> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (i >= line.size()) break;
    std::string word;
    if (line[i] == '"') {
      ++i;
      bool closed = false;
      while (i < line.size()) {
        const char c = line[i++];
        if (c == '"') {
          closed = true;
          break;
        }
        if (c != '\\') {
          word += c;
          continue;
        }
        if (i >= line.size()) break;
        switch (line[i++]) {
          case '"': word += '"'; break;
          case '\\': word += '\\'; break;
          case 'r': word += '\r'; break;
          case 'n': word += '\n'; break;
          case 't': word += '\t'; break;
          case 'b': word += '\b'; break;
          default: throw std::invalid_argument("unknown escape in quoted word");
        }
      }
      if (!closed) throw std::invalid_argument("quoted word has no closing quote");
    } else {
      while (i < line.size() && line[i] != ' ' && line[i] != '\t') word += line[i++];
    }
    words.push_back(std::move(word));
  }
  return words;
}

std::vector<ScriptLine> ParseScript(std::string_view text) {
  std::vector<ScriptLine> lines;
  int number = 0;
  size_t at = 0;
  // A script saved by an editor that marks its UTF-8.
  if (text.substr(0, 3) == "\xEF\xBB\xBF") at = 3;
  while (at <= text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(at, end - at);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    ++number;
    const size_t first = line.find_first_not_of(" \t");
    if (first != std::string_view::npos && line[first] != '#') {
      try {
        lines.push_back({number, SplitScriptWords(line), {}});
      } catch (const std::invalid_argument& e) {
        lines.push_back({number, {}, e.what()});
        break;
      }
    }
    if (end == text.size()) break;
    at = end + 1;
  }
  return lines;
}

namespace {

// Scripts are lines typed by hand.
constexpr std::streamsize kLongestScript = std::streamsize(16) << 20;

std::string ReadAll(std::istream& in, std::string& text) {
  char block[1 << 16];
  while (in && static_cast<std::streamsize>(text.size()) <= kLongestScript) {
    in.read(block, sizeof block);
    text.append(block, static_cast<size_t>(in.gcount()));
  }
  if (in.bad()) return "it cannot be read";
  if (static_cast<std::streamsize>(text.size()) > kLongestScript) return "longer than 16 MB, no panel script";
  return {};
}

}  // namespace

std::string ReadScriptFile(const std::string& file, std::string& text) {
  text.clear();
  if (file == "-") return ReadAll(std::cin, text);
  std::error_code ec;
  if (std::filesystem::is_directory(file, ec)) return "it is a folder";
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::strerror(errno);
  return ReadAll(in, text);
}

namespace {

// Whether the user can reach the control: it and every frame around it are
// shown and enabled.
bool Reachable(const Control& c) {
  const Control* at = &c;
  for (int depth = 0; at != nullptr && depth < 16; ++depth) {
    if (!at->Visible() || !at->Enabled()) return false;
    at = at->Frame().empty() ? nullptr : at->Owner().Find(at->Frame());
  }
  return true;
}

std::string Flags(const Control& c) {
  std::string flags;
  if (!c.Enabled()) flags += " enabled=0";
  if (!c.Visible()) flags += " visible=0";
  return flags;
}

std::vector<std::string> Entries(const Control& c, const std::vector<std::string>& entries) {
  std::vector<std::string> lines{c.Name() + ".count = " + std::to_string(entries.size()) + Flags(c)};
  for (size_t k = 0; k < entries.size(); ++k) {
    lines.push_back(c.Name() + "[" + std::to_string(k) + "] = " + Quote(entries[k]));
  }
  return lines;
}

}  // namespace

std::vector<std::string> ShowLines(const Control& c) {
  const std::string& name = c.Name();
  switch (c.Kind()) {
    case ControlKind::Option:
    case ControlKind::Check: return {name + " = " + (c.Value() ? "on" : "off") + Flags(c)};
    case ControlKind::Combo:
      return {name + " index=" + std::to_string(c.ListIndex()) + " text=" + Quote(c.Text()) + Flags(c)};
    case ControlKind::List:
    case ControlKind::Toolbar: return Entries(c, c.Items());
    case ControlKind::Grid: return Entries(c, c.Cells());
    case ControlKind::ProgressBar:
      return {name + " min=" + std::to_string(c.Min()) + " max=" + std::to_string(c.Max()) +
              " value=" + std::to_string(c.ProgressValue()) + " visible=" + (c.Visible() ? "1" : "0")};
    case ControlKind::Timer:
      return {name + " enabled=" + (c.Enabled() ? "1" : "0") + " interval=" + std::to_string(c.Interval())};
    case ControlKind::Tabs: return {name + " = " + std::to_string(c.Tab()) + Flags(c)};
    case ControlKind::Drawing:
      return {name + ".figures = " + std::to_string(c.Figures().size()) + Flags(c)};
    default: return {name + " = " + Quote(c.Text()) + Flags(c)};
  }
}

ScriptRunner::ScriptRunner(Session& session, AnswerQueue& answers, TranscriptSink out, UserActions actions)
    : session_(session), actions_(std::move(actions)), answers_(answers), out_(std::move(out)) {}

void ScriptRunner::Run(const std::vector<ScriptLine>& lines) {
  for (const ScriptLine& line : lines) RunLine(line);
}

Form& ScriptRunner::Current(int line) {
  if (current_.empty()) throw ScriptError(line, "no panel is open");
  Form* form = session_.Find(current_);
  if (form == nullptr || !session_.IsShown(current_)) throw ScriptError(line, "panel " + current_ + " is not open");
  return *form;
}

Control& ScriptRunner::ControlOf(int line, const std::string& name) {
  Form& form = Current(line);
  if (Control* c = form.Find(name)) return *c;
  // A tool-bar button goes by its key.
  for (Control& c : form.Controls()) {
    if (c.Kind() == ControlKind::Toolbar) {
      for (const std::string& key : c.Items()) {
        if (key == name) return c;
      }
    }
  }
  throw ScriptError(line, "panel " + form.Name() + " has no control " + name);
}

void ScriptRunner::Click(Form& form, Control& c) {
  // What the user cannot reach does nothing.
  if (!Reachable(c)) return;
  if (actions_.click) {
    actions_.click(c);
    return;
  }
  switch (c.Kind()) {
    case ControlKind::Option: c.SetValue(true); break;
    case ControlKind::Check: c.SetValue(!c.Value()); break;
    default: form.Raise(c.Name(), "Click"); break;
  }
}

void ScriptRunner::Key(Control& c, int key) {
  if (actions_.key) {
    actions_.key(c, key);
    return;
  }
  EventArgs args;
  args.key = key;
  c.Owner().Raise(c.Name(), "KeyPress", args);
  if (args.key == 0 || c.Locked()) return;
  if (c.Kind() != ControlKind::Text && c.Kind() != ControlKind::RichText) return;
  std::string text = c.Text();
  if (args.key == 8) {
    if (!text.empty()) text.pop_back();
  } else {
    text += static_cast<char>(args.key);
  }
  c.SetText(text);
}

void ScriptRunner::Wait(double seconds) {
  using namespace std::chrono;
  const auto until = steady_clock::now() + duration_cast<steady_clock::duration>(
                                                duration<double>(std::min(std::max(0.0, seconds), 86400.0)));
  do {
    session_.GetPlatform().PumpEvents();
    const steady_clock::duration left = until - steady_clock::now();
    std::this_thread::sleep_for(std::min<steady_clock::duration>(left, milliseconds(20)));
  } while (steady_clock::now() < until);
  session_.GetPlatform().PumpEvents();
}

void ScriptRunner::Show(int line, const std::string& what) {
  const size_t dot = what.find('.');
  if (dot != std::string::npos) {
    const std::string head = what.substr(0, dot);
    const std::string tail = what.substr(dot + 1);
    if (head == "state") {
      StateField field;
      if (!ReadStateField(session_.State(), tail, field)) throw ScriptError(line, "no shared value " + tail);
      out_(what + " = " + (field.isText ? Quote(field.text) : field.text));
      return;
    }
    if (tail == "caption") {
      if (FindPanelType(head) == nullptr) throw ScriptError(line, "unknown panel " + head);
      Form* form = session_.Find(head);
      if (form == nullptr) throw ScriptError(line, "panel " + head + " is not open");
      out_(what + " = " + Quote(form->Caption()));
      return;
    }
  }
  for (const std::string& text : ShowLines(ControlOf(line, what))) out_(text);
}

void ScriptRunner::RunLine(const ScriptLine& l) {
  if (!l.error.empty()) throw ScriptError(l.number, l.error);
  const auto& w = l.words;
  const int n = l.number;
  const std::string& command = w.at(0);
  const auto need = [&](size_t count) {
    if (w.size() != count + 1) {
      throw ScriptError(n, command + " takes " + std::to_string(count) + " word" + (count == 1 ? "" : "s"));
    }
  };
  // Decimal only: no hexadecimal, no blanks, no infinity.
  const auto number = [&](const std::string& text) {
    double v = 0;
    const char* end = text.data() + text.size();
    const auto [at, ec] = std::from_chars(text.data(), end, v, std::chars_format::general);
    if (text.empty() || ec != std::errc() || at != end || !std::isfinite(v)) {
      throw ScriptError(n, "not a number: " + text);
    }
    return v;
  };

  if (command == "open") {
    need(1);
    if (FindPanelType(w[1]) == nullptr) throw ScriptError(n, "unknown panel " + w[1]);
    session_.Open(w[1]);
    if (session_.IsShown(w[1])) current_ = w[1];
  } else if (command == "use") {
    need(1);
    if (FindPanelType(w[1]) == nullptr) throw ScriptError(n, "unknown panel " + w[1]);
    if (!session_.IsShown(w[1])) throw ScriptError(n, "panel " + w[1] + " is not open");
    current_ = w[1];
  } else if (command == "close") {
    need(1);
    if (FindPanelType(w[1]) == nullptr) throw ScriptError(n, "unknown panel " + w[1]);
    if (session_.Find(w[1]) == nullptr) throw ScriptError(n, "panel " + w[1] + " is not open");
    Form& form = *session_.Find(w[1]);
    if (actions_.close && session_.IsShown(w[1])) {
      actions_.close(form);
    } else {
      session_.Close(w[1]);
    }
  } else if (command == "answer") {
    need(2);
    if (w[1] == "dialog") {
      answers_.QueueDialog(w[2]);
    } else if (w[1] == "prompt") {
      answers_.QueuePrompt(w[2]);
    } else if (w[1] == "message") {
      const double b = number(w[2]);
      if (b != 1 && b != 2 && b != 6 && b != 7) throw ScriptError(n, "a message is answered 1, 2, 6 or 7");
      answers_.QueueMessage(static_cast<int>(b));
    } else {
      throw ScriptError(n, "answer takes dialog, prompt or message");
    }
  } else if (command == "set") {
    need(2);
    Control& c = ControlOf(n, w[1]);
    if (c.Kind() != ControlKind::Text && c.Kind() != ControlKind::RichText) {
      throw ScriptError(n, w[1] + " is not a text control");
    }
    if (Reachable(c) && !c.Locked()) {
      if (actions_.set) {
        actions_.set(c, w[2]);
      } else {
        c.SetText(w[2]);
      }
    }
  } else if (command == "key") {
    need(2);
    Control& c = ControlOf(n, w[1]);
    // Backspace is written \b, bare or quoted.
    const bool backspace = w[2] == "\\b" || w[2] == "\b";
    if (w[2].size() != 1 && !backspace) throw ScriptError(n, "key takes one character");
    if (!Reachable(c)) return;
    Key(c, backspace ? 8 : static_cast<unsigned char>(w[2][0]));
  } else if (command == "click") {
    need(1);
    Control& c = ControlOf(n, w[1]);
    if (c.Kind() == ControlKind::Toolbar && c.Name() != w[1]) {
      EventArgs args;
      args.itemKey = w[1];
      if (Reachable(c)) {
        if (actions_.toolbarClick) {
          actions_.toolbarClick(c, w[1]);
        } else {
          c.Owner().Raise(c.Name(), "ButtonClick", args);
        }
      }
    } else {
      Click(c.Owner(), c);
    }
  } else if (command == "dblclick") {
    need(1);
    Control& c = ControlOf(n, w[1]);
    if (Reachable(c)) {
      if (actions_.dblclick) {
        actions_.dblclick(c);
      } else {
        c.Owner().Raise(c.Name(), "DblClick");
      }
    }
  } else if (command == "choose") {
    need(2);
    Control& c = ControlOf(n, w[1]);
    if (c.Kind() != ControlKind::List && c.Kind() != ControlKind::Combo) {
      throw ScriptError(n, w[1] + " is not a list");
    }
    const double index = number(w[2]);
    if (index != std::floor(index) || index < 0 || index >= static_cast<double>(c.Items().size())) {
      throw ScriptError(n, w[1] + " has no line " + w[2]);
    }
    if (Reachable(c)) {
      if (actions_.choose) {
        actions_.choose(c, static_cast<int>(index));
      } else {
        c.SetListIndex(static_cast<int>(index));
      }
    }
  } else if (command == "mousemove") {
    need(3);
    Control& c = ControlOf(n, w[1]);
    EventArgs args;
    args.x = number(w[2]);
    args.y = number(w[3]);
    if (Reachable(c)) c.Owner().Raise(c.Name(), "MouseMove", args);
  } else if (command == "tick") {
    need(1);
    Control& c = ControlOf(n, w[1]);
    if (c.Kind() != ControlKind::Timer) throw ScriptError(n, w[1] + " is not a timer");
    if (c.Enabled()) c.Owner().Raise(c.Name(), "Timer");
  } else if (command == "wait") {
    need(1);
    Wait(number(w[1]));
  } else if (command == "show") {
    need(1);
    Show(n, w[1]);
  } else {
    throw ScriptError(n, "unknown command " + command);
  }
}

}  // namespace vexmor

#include <ostream>

#include "platform/headless_platform.h"
#include "platform/jobs.h"

namespace vexmor {

int RunScriptHeadless(std::string_view text, HeadlessPlatform& platform, std::ostream& out, std::ostream& err) {
  const auto write = [&out](const std::string& line) { out << line << '\n' << std::flush; };
  platform.SetSink(write);
  SharedState state;
  int status = 0;
  {
    Session session(platform, state);
    session.onShown = [&](Form& form) { write(transcript::Opened(form.Name())); };
    session.onHidden = [&](Form& form) { write(transcript::Closed(form.Name())); };
    ScriptRunner runner(session, platform.Answers(), write);
    try {
      runner.Run(ParseScript(text));
    } catch (const ScriptError& e) {
      err << e.what() << '\n';
      status = 2;
    }
    session.onShown = nullptr;
    session.onHidden = nullptr;
  }
  WaitForJobs();
  platform.SetSink({});
  return status;
}

int RunScriptHeadless(std::string_view text, std::ostream& out, std::ostream& err) {
  HeadlessPlatform platform;
  return RunScriptHeadless(text, platform, out, err);
}

}  // namespace vexmor
