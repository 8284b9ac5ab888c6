#include "convert.h"

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/su_trace.h"

#include <unistd.h>

#include <csignal>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>

#include "core/shared_state.h"
#include "core/text.h"
#include "panels/form.h"
#include "panels/script.h"
#include "panels/session.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "platform/transcript.h"

namespace fs = std::filesystem;

namespace vexmor::cli {

const std::string* Job::Value(std::string_view name) const {
  const auto found = values.find(std::string(name));
  return found == values.end() ? nullptr : &found->second;
}

std::string Job::ValueOr(std::string_view name, std::string fallback) const {
  const std::string* value = Value(name);
  return value ? *value : fallback;
}

std::string Grouped(int64_t value) {
  const std::string digits = std::to_string(value < 0 ? -value : value);
  std::string out = value < 0 ? "-" : "";
  for (size_t k = 0; k < digits.size(); ++k) {
    if (k > 0 && (digits.size() - k) % 3 == 0) out += ',';
    out += digits[k];
  }
  return out;
}

// ---------------------------------------------------------------- PanelRun

namespace {

// The headless platform, keeping the texts of the messages shown: they tell
// whether the conversion ran to its end.
class ConvertPlatform : public HeadlessPlatform {
 public:
  using HeadlessPlatform::HeadlessPlatform;
  int MessageBox(const std::string& text, int buttonsCode, const std::string& title) override {
    messages.push_back(text);
    return HeadlessPlatform::MessageBox(text, buttonsCode, title);
  }
  std::vector<std::string> messages;
};

}  // namespace

struct PanelRun::Impl {
  explicit Impl(PanelRun& owner)
      : platform([&owner](const std::string& line) { owner.transcript_.push_back(line); }),
        session(platform, state),
        runner(session, platform.Answers(), [&owner](const std::string& line) { owner.transcript_.push_back(line); }) {
    session.onShown = [&owner](Form& form) { owner.transcript_.push_back(transcript::Opened(form.Name())); };
    session.onHidden = [&owner](Form& form) { owner.transcript_.push_back(transcript::Closed(form.Name())); };
  }
  ConvertPlatform platform;
  SharedState state;
  Session session;
  ScriptRunner runner;
};

PanelRun::PanelRun() : impl_(std::make_unique<Impl>(*this)) {}

PanelRun::~PanelRun() {
  impl_->session.onShown = nullptr;
  impl_->session.onHidden = nullptr;
}

std::string ScriptLineText(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    if (!line.empty()) line += ' ';
    const bool plain = !word.empty() && word.find_first_of(" \t\"\\\r\n") == std::string::npos && word[0] != '#';
    line += plain ? word : Quote(word);
  }
  return line;
}

void PanelRun::Do(std::vector<std::string> words) {
  script_ += ScriptLineText(words) + '\n';
  impl_->runner.RunLine(ScriptLine{++line_, std::move(words), {}});
}

std::string PanelRun::Text(std::string_view panel, std::string_view control) {
  Form* form = impl_->session.Find(panel);
  if (form == nullptr) return {};
  Control* found = form->Find(control);
  return found ? found->Text() : std::string();
}

Session& PanelRun::GetSession() { return impl_->session; }

std::vector<std::string> PanelRun::TakeMessages() {
  std::vector<std::string> taken;
  taken.swap(impl_->platform.messages);
  return taken;
}

void PanelRun::WatchProgress(std::string_view panel, std::string_view control,
                             std::function<void(int, int, int)> watch) {
  Form* form = impl_->session.Find(panel);
  Control* bar = form ? form->Find(control) : nullptr;
  if (bar == nullptr) return;
  bar->SetViewHook([watch = std::move(watch)](Control& c) { watch(c.ProgressValue(), c.Min(), c.Max()); });
}

// ---------------------------------------------------------------- the frame

namespace {

constexpr const char* kProgram = "vexmor-cli convert";

constexpr const char* kCommonOptions =
    "  -o, --output FILE    the output (a prefix of names for su2ascii-channels)\n"
    "  --output-dir DIR     one output for each input, DIR/NAME.su (.txt for su2ascii)\n"
    "  --from-list FILE     read the inputs from FILE, one a line (- for standard input)\n"
    "  --force              replace an output that exists (whole, once the conversion succeeded)\n"
    "  --dry-run            check and show what would be written; write nothing\n"
    "  --json               the summary and the final report as JSON on standard output\n"
    "  --no-check           skip the size checks of the inputs: the panel's own rules apply\n"
    "  --print-script       print the equivalent panel script on standard output\n"
    "  --quiet              no progress bar\n"
    "  -h, --help           this text\n";

std::string Json(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char hex[8];
          std::snprintf(hex, sizeof hex, "\\u%04x", c);
          out += hex;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

std::string JsonList(const std::vector<std::string>& items) {
  std::string out = "[";
  for (size_t k = 0; k < items.size(); ++k) out += (k ? "," : "") + Json(items[k]);
  return out + "]";
}

std::string NumberOut(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

void PrintRouteHelp(const Route& route, std::ostream& out) {
  out << "usage: " << kProgram << ' ' << route.name << " [OPTIONS] INPUT... -o OUTPUT\n"
      << "       " << kProgram << ' ' << route.name << " [OPTIONS] INPUT... --output-dir DIR\n\n"
      << route.summary << '\n';
  if (route.maxInputs > 1) {
    out << "Up to " << route.maxInputs << " inputs join into one output, in the order given.\n";
  } else {
    out << "One input for each output.\n";
  }
  if (!route.options.empty()) {
    out << "\nOptions of this route (what the header gives is read first; an option\n"
           "overrides it, as a correction typed into the panel):\n";
    for (const RouteOption& option : route.options) {
      std::string left = "  --" + std::string(option.name) + (option.flag ? "" : " VALUE");
      if (left.size() < 24) left.resize(24, ' ');
      else left += ' ';
      out << left << option.help << " [" << option.fallback << "]\n";
    }
  }
  out << "\nCommon options:\n" << kCommonOptions;
}

void PrintHelp(std::ostream& out) {
  out << "usage: " << kProgram << " ROUTE [OPTIONS] INPUT... -o OUTPUT\n"
      << "       " << kProgram << " ROUTE [OPTIONS] INPUT... --output-dir DIR\n"
      << "       " << kProgram << " ROUTE --help\n\n"
      << "Runs a panel's own conversion without a screen, safe for scripts: every\n"
      << "input is checked before anything is written, the output is made beside\n"
      << "its target and renamed into place only when the conversion succeeded,\n"
      << "and an output that exists is refused without --force.\n\nRoutes:\n";
  for (const Route& route : Routes()) {
    std::string left = "  " + std::string(route.name);
    if (left.size() < 22) left.resize(22, ' ');
    out << left << route.summary << '\n';
  }
  out << "\nCommon options:\n"
      << kCommonOptions
      << "\nExit status: 0 when every output was written, 1 when an input or an\n"
         "output was refused or a conversion failed (nothing half-written is left),\n"
         "2 on a usage error.\n";
}

// One output and the inputs that make it.
struct Group {
  std::vector<std::string> inputs;
  std::string output;  // the file, or the prefix of the files
  std::unique_ptr<PanelRun> run;
  Job job;
  Plan plan;
  std::vector<std::string> finals;  // the files it makes
  bool written = false;
  std::string failure;
  std::string script;  // what drove the panel, with the final names
};

std::string Describe(const fs::path& path) {
  std::error_code ec;
  const fs::file_status status = fs::status(path, ec);
  if (ec || !fs::exists(status)) return "no such file";
  if (fs::is_directory(status)) return "a folder, not a file";
  if (!fs::is_regular_file(status)) return "not a plain file";
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::string("cannot be read (") + std::strerror(errno) + ")";
  return {};
}

bool ReadList(const std::string& file, std::vector<std::string>& inputs, std::ostream& err) {
  std::ifstream opened;
  std::istream* in = &std::cin;
  if (file != "-") {
    const std::string problem = Describe(file);
    if (!problem.empty()) {
      err << kProgram << ": " << file << ": " << problem << " (the list of inputs)\n";
      return false;
    }
    opened.open(file);
    in = &opened;
  }
  std::string line;
  while (std::getline(*in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    inputs.push_back(line);
  }
  return true;
}

// A bar on one line of a terminal, redrawn only when its text changes.
class ProgressLine {
 public:
  ProgressLine(std::ostream& err, bool on) : err_(err), on_(on) {}
  void Show(const std::string& label, int value, int min, int max) {
    if (!on_) return;
    const int span = std::max(1, max - min + 1);
    const int done = std::clamp(value - min + 1, 0, span);
    const int width = 30;
    const int filled = done * width / span;
    std::string text = "\r[" + std::string(static_cast<size_t>(filled), '#') +
                       std::string(static_cast<size_t>(width - filled), '-') + "] " +
                       std::to_string(done * 100 / span) + "% " + label;
    if (text == last_) return;
    last_ = text;
    err_ << text << "\x1b[K" << std::flush;
  }
  void Clear() {
    if (on_ && !last_.empty()) err_ << "\r\x1b[K" << std::flush;
    last_.clear();
  }

 private:
  std::ostream& err_;
  bool on_;
  std::string last_;
};

class FolderKeeper {
 public:
  FolderKeeper() {
    std::error_code ec;
    saved_ = fs::current_path(ec);
  }
  ~FolderKeeper() { Back(); }
  void Back() {
    std::error_code ec;
    if (!saved_.empty()) fs::current_path(saved_, ec);
  }

 private:
  fs::path saved_;
};

std::string FolderOf(const std::string& path) {
  const fs::path parent = fs::path(path).parent_path();
  return parent.empty() ? std::string(".") : parent.string();
}

// The work folder of the conversion under way, emptied by an interrupt so
// that Ctrl-C in a loop leaves nothing behind. Only calls that are safe in
// a signal handler: fixed buffers, unlink, rmdir.
char g_stage[4096];
constexpr const char* kStagedNames[] = {"out.su", "data.su", "data.txt"};

extern "C" void RemoveStageAndStop(int signal) {
  if (g_stage[0] != '\0') {
    char path[4200];
    for (const char* name : kStagedNames) {
      size_t n = 0;
      for (const char* p = g_stage; *p && n < sizeof path - 64; ++p) path[n++] = *p;
      path[n++] = '/';
      for (const char* p = name; *p; ++p) path[n++] = *p;
      path[n] = '\0';
      unlink(path);
    }
    rmdir(g_stage);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

class StageGuard {
 public:
  explicit StageGuard(const std::string& stage) {
    if (stage.size() >= sizeof g_stage) return;
    std::copy(stage.begin(), stage.end(), g_stage);
    g_stage[stage.size()] = '\0';
    std::signal(SIGINT, RemoveStageAndStop);
    std::signal(SIGTERM, RemoveStageAndStop);
    std::signal(SIGHUP, RemoveStageAndStop);
  }
  ~StageGuard() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGHUP, SIG_DFL);
    g_stage[0] = '\0';
  }
  StageGuard(const StageGuard&) = delete;
  StageGuard& operator=(const StageGuard&) = delete;
};

// Runs the conversion of one group into a folder of its own beside the
// output, then moves what it made into place. Gives why it failed, or
// nothing.
std::string ConvertGroup(const Route& route, Group& group, ProgressLine& progress, const std::string& label) {
  std::string pattern = (fs::path(FolderOf(group.output)) / ".vexmor-convert-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    return "cannot make a work folder beside it (" + std::string(std::strerror(errno)) + ")";
  }
  const std::string stage = pattern;
  StageGuard guard(stage);
  const auto cleanUp = [&stage] {
    std::error_code ec;
    fs::remove_all(stage, ec);
  };
  PanelRun& run = *group.run;
  run.TakeMessages();
  run.WatchProgress(route.panel, "ProgressBar1",
                    [&](int value, int min, int max) { progress.Show(label, value, min, max); });
  std::vector<std::string> made;
  {
    FolderKeeper keep;
    try {
      route.convert(run, group.job, stage);
    } catch (const std::exception& e) {
      WaitForJobs();
      progress.Clear();
      cleanUp();
      return std::string("the panel could not be driven: ") + e.what();
    }
    WaitForJobs();
  }
  progress.Clear();
  // The script as a user would run it: the work folder, gone afterwards,
  // named as the output's folder, and a link as the input it stands for.
  group.script = run.Script();
  for (const auto& entry : fs::directory_iterator(stage)) {
    std::error_code ec;
    if (entry.is_symlink(ec)) ReplaceAll(group.script, entry.path().string(), fs::read_symlink(entry.path(), ec).string());
  }
  ReplaceAll(group.script, stage, fs::path(stage).parent_path().string());
  const std::vector<std::string> messages = run.TakeMessages();
  bool done = false;
  for (const std::string& message : messages) {
    if (message.find(route.doneMessage) != std::string::npos) {
      done = true;
    } else if (!route.question.empty() && message.starts_with(route.question)) {
      continue;
    } else {
      cleanUp();
      return "the conversion stopped: \"" + message + "\"";
    }
  }
  // A job script tells nothing on screen: its output is the judge.
  if (route.doneMessage.empty() && messages.empty()) done = true;
  if (!done) {
    cleanUp();
    return "the conversion did not end (no \"" + std::string(route.doneMessage) + "\")";
  }
  // What the panel made: every file of the work folder but the links to the
  // inputs, in name order (the endings of a set of files sort alike).
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(stage)) {
    if (entry.is_regular_file() && !entry.is_symlink()) files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  if (files.size() != group.finals.size()) {
    cleanUp();
    return "the conversion made " + std::to_string(files.size()) + " file(s), " +
           std::to_string(group.finals.size()) + " expected";
  }
  if (route.jobOutput && files.size() == 1) {
    std::error_code ec;
    const auto size = static_cast<int64_t>(fs::file_size(files[0], ec));
    int16_t ns = 0;
    if (!ec && size >= 240) ns = BinaryFile(files[0], BinaryFile::Mode::Read).ReadI16(SuWordNamed("ns").offset);
    if (ec || size < 240 || ns <= 0 || size % (240 + 4 * int64_t{ns}) != 0) {
      cleanUp();
      return "the job wrote " + Grouped(ec ? 0 : size) + " bytes, not a whole SU file (ns " + std::to_string(ns) + ")";
    }
  }
  if (group.plan.outputBytes >= 0 && files.size() == 1) {
    std::error_code ec;
    const auto size = static_cast<int64_t>(fs::file_size(files[0], ec));
    if (ec || size != group.plan.outputBytes) {
      cleanUp();
      return "the conversion wrote " + Grouped(size) + " bytes, " + Grouped(group.plan.outputBytes) +
             " expected";
    }
  }
  for (size_t k = 0; k < files.size(); ++k) {
    if (std::rename(files[k].c_str(), group.finals[k].c_str()) != 0) {
      const std::string reason = std::strerror(errno);
      cleanUp();
      return "cannot be put in place: " + group.finals[k] + " (" + reason + ")";
    }
  }
  cleanUp();
  return {};
}

std::string Summary(const Route& route, const Group& group) {
  std::ostringstream out;
  out << group.output << ": " << route.name << ", " << group.inputs.size() << " input"
      << (group.inputs.size() == 1 ? "" : "s") << '\n';
  for (const auto& [name, value] : group.plan.numbers) out << "  " << name << ": " << value << '\n';
  out << "  traces " << group.plan.traces << ", samples " << group.plan.samples << ", interval "
      << NumberOut(group.plan.interval) << ' ' << group.plan.intervalUnit;
  if (group.plan.outputBytes >= 0) out << ", output " << Grouped(group.plan.outputBytes) << " bytes";
  out << '\n';
  if (group.finals.size() > 1) {
    out << "  " << group.finals.size() << " files, " << group.finals.front() << " .. " << group.finals.back() << '\n';
  }
  return out.str();
}

std::string JsonGroup(const Route& route, const Group& group, bool dryRun) {
  std::ostringstream out;
  out << "{\"output\":" << Json(group.output) << ",\"files\":" << JsonList(group.finals)
      << ",\"inputs\":" << JsonList(group.inputs) << ",\"route\":" << Json(route.name)
      << ",\"traces\":" << group.plan.traces << ",\"samples\":" << group.plan.samples
      << ",\"interval\":" << NumberOut(group.plan.interval) << ",\"interval_unit\":" << Json(group.plan.intervalUnit)
      << ",\"output_bytes\":" << group.plan.outputBytes << ",\"found\":{";
  for (size_t k = 0; k < group.plan.numbers.size(); ++k) {
    out << (k ? "," : "") << Json(group.plan.numbers[k].first) << ':' << Json(group.plan.numbers[k].second);
  }
  out << "},\"problems\":" << JsonList(group.plan.problems);
  if (!dryRun) out << ",\"written\":" << (group.written ? "true" : "false") << ",\"error\":" << Json(group.failure);
  out << '}';
  return out.str();
}

std::string StemOf(const std::string& path) { return fs::path(path).stem().string(); }

}  // namespace

int RunConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, bool errIsTerminal) {
  if (args.empty()) {
    PrintHelp(err);
    return 2;
  }
  if (args[0] == "-h" || args[0] == "--help" || args[0] == "help") {
    PrintHelp(out);
    return 0;
  }
  const Route* found = FindRoute(args[0]);
  if (found == nullptr) {
    err << kProgram << ": no route \"" << args[0] << "\"; " << kProgram << " --help lists them\n";
    return 2;
  }
  const Route& route = *found;
  const auto usage = [&](const std::string& text) {
    err << kProgram << ' ' << route.name << ": " << text << " (" << kProgram << ' ' << route.name
        << " --help)\n";
    return 2;
  };

  std::vector<std::string> inputs;
  std::string output, outputDir;
  bool force = false, dryRun = false, json = false, check = true, printScript = false, quiet = false;
  std::map<std::string, std::string> values;
  for (size_t k = 1; k < args.size(); ++k) {
    std::string arg = args[k];
    if (arg == "--") {
      inputs.insert(inputs.end(), args.begin() + static_cast<std::ptrdiff_t>(k) + 1, args.end());
      break;
    }
    if (arg.size() < 2 || arg[0] != '-') {
      inputs.push_back(arg);
      continue;
    }
    std::string value;
    bool hasValue = false;
    if (const size_t eq = arg.find('='); arg.starts_with("--") && eq != std::string::npos) {
      value = arg.substr(eq + 1);
      arg.resize(eq);
      hasValue = true;
    }
    const auto take = [&](std::string& into) {
      if (hasValue) {
        into = value;
        return true;
      }
      if (k + 1 >= args.size()) return false;
      into = args[++k];
      return true;
    };
    if (arg == "-h" || arg == "--help") {
      PrintRouteHelp(route, out);
      return 0;
    }
    if (arg == "--force") { force = true; continue; }
    if (arg == "--dry-run") { dryRun = true; continue; }
    if (arg == "--json") { json = true; continue; }
    if (arg == "--no-check") { check = false; continue; }
    if (arg == "--print-script") { printScript = true; continue; }
    if (arg == "--quiet") { quiet = true; continue; }
    if (arg == "-o" || arg == "--output") {
      if (!take(output)) return usage(arg + " needs a file name");
      continue;
    }
    if (arg == "--output-dir") {
      if (!take(outputDir)) return usage(arg + " needs a folder");
      continue;
    }
    if (arg == "--from-list") {
      std::string list;
      if (!take(list)) return usage(arg + " needs a file name");
      if (!ReadList(list, inputs, err)) return 1;
      continue;
    }
    const RouteOption* option = nullptr;
    for (const RouteOption& o : route.options) {
      if (arg == "--" + std::string(o.name)) option = &o;
    }
    if (option == nullptr) return usage("unknown option " + arg);
    if (option->flag) {
      if (hasValue) return usage(arg + " takes no value");
      values[std::string(option->name)] = "1";
      continue;
    }
    if (!take(values[std::string(option->name)])) return usage(arg + " needs a value");
  }
  if (inputs.empty()) return usage("no input given");
  if (output.empty() == outputDir.empty()) return usage("give either -o OUTPUT or --output-dir DIR");
  if (!output.empty() && static_cast<int>(inputs.size()) > route.maxInputs) {
    err << kProgram << ' ' << route.name << ": " << inputs.size() << " inputs for one output; " << route.name
        << " takes at most " << route.maxInputs << " there (the panel's limit). Use --output-dir DIR for one output"
        << " each, or split the list.\n";
    return 2;
  }

  // The inputs, all of them, before anything else.
  std::vector<std::string> problems;
  std::vector<int64_t> sizes;
  for (std::string& input : inputs) {
    std::error_code ec;
    const fs::path absolute = fs::absolute(input, ec);
    const std::string problem = Describe(absolute);
    if (!problem.empty()) {
      problems.push_back(input + ": " + problem);
      continue;
    }
    // The panels' selections cut the dialog's answer at its blanks.
    if (absolute.string().find(' ') != std::string::npos) {
      problems.push_back(input + ": a blank in its path, which the panel's selection would cut in two; "
                                 "rename it or link to it from a path without blanks");
      continue;
    }
    input = absolute.lexically_normal().string();
    sizes.push_back(static_cast<int64_t>(fs::file_size(absolute, ec)));
  }
  const auto refuse = [&](const std::vector<std::string>& list) {
    for (const std::string& problem : list) err << kProgram << ": " << problem << '\n';
    if (json) {
      out << "{\"ok\":false,\"route\":" << Json(route.name) << ",\"problems\":" << JsonList(list) << "}\n";
    }
    return 1;
  };
  if (!problems.empty()) return refuse(problems);

  std::vector<Group> groups;
  if (!output.empty()) {
    Group group;
    group.inputs = inputs;
    group.job.sizes = sizes;
    group.output = fs::absolute(output).lexically_normal().string();
    groups.push_back(std::move(group));
  } else {
    std::error_code ec;
    if (!fs::is_directory(outputDir, ec)) return refuse({outputDir + ": no such folder (the output folder)"});
    for (size_t k = 0; k < inputs.size(); ++k) {
      Group group;
      group.inputs = {inputs[k]};
      group.job.sizes = {sizes[k]};
      const std::string ending = route.outputEndings ? "." : route.name == "su2ascii" ? ".txt"
                                 : route.name == "su2kgs" ? ".dat"
                                 : route.name == "su2segy" ? ".sgy"
                                                          : ".su";
      group.output = (fs::absolute(outputDir) / (StemOf(inputs[k]) + ending)).lexically_normal().string();
      groups.push_back(std::move(group));
    }
  }

  // Probe every group: the panel selects the inputs and reads their
  // headers; nothing is written.
  for (Group& group : groups) {
    group.job.inputs = group.inputs;
    group.job.values = values;
    group.job.check = check;
    group.run = std::make_unique<PanelRun>();
    FolderKeeper keep;
    try {
      group.plan = route.probe(*group.run, group.job);
    } catch (const std::exception& e) {
      group.plan.problems.push_back(group.output + ": the panel could not be driven: " + e.what());
    }
    // dt holds whole microseconds: an interval under one half would be 0.
    // (Radar intervals in ns go to dt times 1000, or are rounded by the probe.)
    if (group.plan.intervalUnit == "us" && group.plan.interval > 0 && RoundHalfEven(group.plan.interval) < 1) {
      group.plan.problems.push_back(group.output + ": a sample interval of " + NumberText(group.plan.interval).substr(1) +
                                    " us is written to dt as 0; give a whole number of microseconds");
    }
    if (!check) group.plan.problems.clear();
    if (route.outputEndings) {
      for (const std::string& ending : route.outputEndings(group.plan, group.job)) {
        group.finals.push_back(group.output + ending);
      }
    } else {
      group.finals = {group.output};
    }
    for (const std::string& file : group.finals) {
      std::error_code ec;
      if (std::find(group.inputs.begin(), group.inputs.end(), file) != group.inputs.end()) {
        group.plan.problems.push_back(file + ": is an input too; the output must be another file");
      } else if (fs::is_directory(file, ec)) {
        group.plan.problems.push_back(file + ": a folder, not an output file");
      } else if (fs::exists(fs::symlink_status(file, ec)) && !force) {
        group.plan.problems.push_back(file + ": exists already; --force replaces it");
      }
    }
    if (!fs::is_directory(FolderOf(group.output))) {
      group.plan.problems.push_back(group.output + ": its folder " + FolderOf(group.output) + " does not exist");
    }
    problems.insert(problems.end(), group.plan.problems.begin(), group.plan.problems.end());
  }

  // Two inputs of one name in different folders would make one output.
  std::map<std::string, const Group*> makers;
  for (const Group& group : groups) {
    for (const std::string& file : group.finals) {
      const auto [at, fresh] = makers.emplace(file, &group);
      if (!fresh) {
        problems.push_back(file + ": made from both " + at->second->inputs.front() + " and " + group.inputs.front() +
                           "; convert them into different folders");
      }
    }
  }

  if (dryRun && printScript) {
    for (const Group& group : groups) out << group.run->Script();
  }
  if (dryRun) {
    for (const std::string& problem : problems) err << kProgram << ": " << problem << '\n';
    if (json) {
      out << "{\"ok\":" << (problems.empty() ? "true" : "false") << ",\"dry_run\":true,\"route\":"
          << Json(route.name) << ",\"outputs\":[";
      for (size_t k = 0; k < groups.size(); ++k) out << (k ? "," : "") << JsonGroup(route, groups[k], true);
      out << "]}\n";
    } else if (!printScript) {
      for (const Group& group : groups) out << Summary(route, group);
      out << (problems.empty() ? "Nothing written (dry run).\n" : "Nothing written (dry run); see the problems above.\n");
    }
    return problems.empty() ? 0 : 1;
  }
  if (!problems.empty()) return refuse(problems);

  ProgressLine progress(err, errIsTerminal && !quiet);
  int failed = 0;
  for (size_t k = 0; k < groups.size(); ++k) {
    Group& group = groups[k];
    const std::string label = groups.size() > 1 ? std::to_string(k + 1) + "/" + std::to_string(groups.size()) + " " +
                                                      fs::path(group.output).filename().string()
                                                : fs::path(group.output).filename().string();
    group.failure = ConvertGroup(route, group, progress, label);
    group.written = group.failure.empty();
    if (printScript) out << group.script;
    group.run.reset();
    if (group.written && route.afterWritten) route.afterWritten(group.job);
    if (!group.written) {
      ++failed;
      err << kProgram << ": " << group.output << ": not written: " << group.failure << '\n';
    } else if (!json && !printScript) {
      out << group.output << ": " << group.plan.traces << " traces written"
          << (group.finals.size() > 1 ? " to " + std::to_string(group.finals.size()) + " files" : std::string())
          << '\n';
    }
  }
  if (json) {
    out << "{\"ok\":" << (failed == 0 ? "true" : "false") << ",\"route\":" << Json(route.name)
        << ",\"outputs\":[";
    for (size_t k = 0; k < groups.size(); ++k) out << (k ? "," : "") << JsonGroup(route, groups[k], false);
    out << "]}\n";
  }
  return failed == 0 ? 0 : 1;
}

}  // namespace vexmor::cli
