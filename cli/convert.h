#pragma once
// `vexmor-cli convert`: the panels' own conversions, run without a screen
// and made safe for shell loops. Each route is one entry of the route table
// (routes.cpp): the panel it drives, its options with the panel's defaults,
// how the options reach the panel's controls and prompts, and what a
// well-formed input of that route looks like. The frame (convert.cpp) does
// the rest the same way for every route: inputs checked before anything is
// written, the output made in a folder of its own beside the target and
// renamed into place only after a conversion that succeeded.
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexmor {
class Session;
class Form;
}  // namespace vexmor

namespace vexmor::cli {

// One option of a route. Its value is typed into `control` after the
// selection, as a user corrects what the panel shows; a route with no
// control for it uses the value in its own steps.
struct RouteOption {
  std::string_view name;      // --name
  std::string_view control;   // text control it sets, or empty
  std::string_view help;
  std::string_view fallback;  // what stands when it is not given
  bool flag = false;          // takes no value: given means "1"
};

// What one conversion is handed.
struct Job {
  std::vector<std::string> inputs;            // absolute paths
  std::vector<int64_t> sizes;                 // their sizes in bytes
  std::map<std::string, std::string> values;  // options given, by name
  bool check = true;                          // false: --no-check
  const std::string* Value(std::string_view name) const;
  std::string ValueOr(std::string_view name, std::string fallback) const;
};

// What the probe found, for the summary and for the checks.
struct Plan {
  int64_t traces = 0;
  int32_t samples = 0;
  double interval = 0;
  std::string intervalUnit = "us";
  int64_t outputBytes = -1;                       // -1: not known ahead
  std::vector<std::pair<std::string, std::string>> numbers;  // shown as found
  std::vector<std::string> problems;              // each names its file
};

class PanelRun;

struct Route {
  std::string_view name;
  std::string_view summary;
  std::string_view panel;  // the panel (or MainPanel for the in-place exports)
  std::span<const RouteOption> options;
  int maxInputs;           // inputs that one output can take
  // Selects the inputs in the panel, sets the options and checks the
  // inputs against the numbers the panel then holds. Writes nothing.
  Plan (*probe)(PanelRun& run, const Job& job);
  // After the probe: names the output and starts the conversion. `staged`
  // is the path the output is to be written to.
  void (*convert)(PanelRun& run, const Job& job, const std::string& staged);
  // The message that says the conversion ran to its end (its start).
  std::string_view doneMessage;
  // Several files made at once (one for each channel): the output is a
  // prefix and these are the endings, worked out by the probe.
  std::vector<std::string> (*outputEndings)(const Plan& plan, const Job& job) = nullptr;
  // The start of a question the panel asks on its way (answered by the
  // route): not a sign of failure.
  std::string_view question = {};
  // Run once every output is in place (deleting the inputs when asked).
  void (*afterWritten)(const Job& job) = nullptr;
  // Made by a job of our tools, whose end the panel may announce before it
  // has run: the output is taken only as a whole SU file.
  bool jobOutput = false;
};

std::span<const Route> Routes();
const Route* FindRoute(std::string_view name);

// A panel session without a screen, driven by panel-script lines.
class PanelRun {
 public:
  PanelRun();
  ~PanelRun();
  PanelRun(const PanelRun&) = delete;
  PanelRun& operator=(const PanelRun&) = delete;

  // Runs one panel-script command (words as the script would hold them);
  // a script error throws.
  void Do(std::vector<std::string> words);
  // The text a control of the current panel shows.
  std::string Text(std::string_view panel, std::string_view control);
  Session& GetSession();
  // The commands run so far, as a panel script.
  const std::string& Script() const { return script_; }
  // The transcript so far, and the messages shown since the last call.
  const std::vector<std::string>& Transcript() const { return transcript_; }
  std::vector<std::string> TakeMessages();
  // Called with (value, min, max) whenever the named progress bar moves.
  void WatchProgress(std::string_view panel, std::string_view control, std::function<void(int, int, int)> watch);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  std::string script_;
  std::vector<std::string> transcript_;
  int line_ = 0;
};

// 48000 as "48,000".
std::string Grouped(int64_t value);

// The words of a script line as they are written in a script file.
std::string ScriptLineText(const std::vector<std::string>& words);

// `vexmor-cli convert ARGS...` (args without the word "convert"). Gives the
// exit status: 0 done, 1 nothing or not all converted, 2 a usage error.
int RunConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, bool errIsTerminal);

}  // namespace vexmor::cli
