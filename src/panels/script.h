#pragma once
// Panel scripts: the commands of a user at mouse and keyboard, one a line,
// with queued answers for the dialogs. The runner acts on the controls as
// the user would and writes the transcript.
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "panels/session.h"
#include "platform/answer_queue.h"
#include "platform/transcript.h"

namespace vexmor {

class ScriptError : public std::runtime_error {
 public:
  // The reason is kept to one line: a word that holds a line end or another
  // control character shows it escaped, as the script would write it.
  ScriptError(int line, const std::string& reason)
      : std::runtime_error("line " + std::to_string(line) + ": " + OneLine(reason)), line_(line) {}
  int Line() const { return line_; }

 private:
  static std::string OneLine(const std::string& text);
  int line_;
};

struct ScriptLine {
  int number;                       // from 1
  std::vector<std::string> words;   // quotes and escapes resolved
  std::string error;                // why the line cannot be split, if so
};

// Splits one line into words; throws std::invalid_argument on an open quote
// or an unknown escape.
std::vector<std::string> SplitScriptWords(std::string_view line);
// The commands of a script; blank lines and # comments left out. A line
// that cannot be split ends the list and carries its error, so that the
// lines before it still run and running it stops the script there.
std::vector<ScriptLine> ParseScript(std::string_view text);

// Reads the script FILE ("-" for standard input) into text. Gives why it
// can't be one, or nothing: a folder, a file that can't be opened, and
// anything past 16 MB (a device such as /dev/zero has no end) are refused.
std::string ReadScriptFile(const std::string& file, std::string& text);

// How `show` prints a control.
std::vector<std::string> ShowLines(const Control& control);

// How a front performs what the user does, once the runner has checked the
// command and that the control can be reached. An empty entry acts on the
// control itself (the headless front); the desktop acts on the widget bound
// to the control, which then changes the control as a user's action would.
struct UserActions {
  std::function<void(Form& panel)> close;
  std::function<void(Control& control)> click;       // button, option, check box, menu entry
  std::function<void(Control& toolbar, const std::string& key)> toolbarClick;
  std::function<void(Control& control, const std::string& text)> set;
  std::function<void(Control& control, int key)> key;
  std::function<void(Control& control)> dblclick;
  std::function<void(Control& control, int index)> choose;
};

class ScriptRunner {
 public:
  ScriptRunner(Session& session, AnswerQueue& answers, TranscriptSink out, UserActions actions = {});
  // Runs the lines in order; a script error stops at its line (throws).
  void Run(const std::vector<ScriptLine>& lines);
  void RunLine(const ScriptLine& line);

 private:
  Form& Current(int line);
  Control& ControlOf(int line, const std::string& name);
  void Click(Form& form, Control& control);
  void Show(int line, const std::string& what);
  void Wait(double seconds);
  void Key(Control& control, int key);

  Session& session_;
  UserActions actions_;
  AnswerQueue& answers_;
  TranscriptSink out_;
  std::string current_;
};

}  // namespace vexmor

#include <iosfwd>

namespace vexmor {

class HeadlessPlatform;

// Runs a whole script without a screen, as `vexmor-cli run` does: the
// transcript on out, a script error as "line N: REASON" on err. Gives the
// exit status: 0 when the script ran to its end, 2 on a script error. Waits
// for the jobs the script started before it returns.
int RunScriptHeadless(std::string_view text, std::ostream& out, std::ostream& err);
// The same on a platform of the caller's (tests set its program folder).
int RunScriptHeadless(std::string_view text, HeadlessPlatform& platform, std::ostream& out, std::ostream& err);

}  // namespace vexmor
