// The routes of `vexmor-cli convert`, one entry each: the panel, its
// options with the panel's defaults, the panel-script steps that select the
// inputs and type the options in, and the checks of the inputs against the
// numbers the panel then holds.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <set>

#include "convert.h"
#include "core/binary_file.h"
#include "core/mapped_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "core/su_trace.h"
#include "core/text_reader.h"
#include "formats/column_text.h"
#include "formats/dt1.h"
#include "formats/kgs.h"
#include "importers/radar/dzt_words.h"
#include "importers/radar/ramac_format.h"
#include "importers/seismograph/abem_format.h"
#include "importers/seismograph/ambrogeo_format.h"
#include "importers/seismograph/bison_format.h"
#include "importers/seismograph/dolang_format.h"
#include "importers/seismograph/es1225_format.h"
#include "importers/seismograph/oyo_format.h"
#include "importers/seismograph/pasi_format.h"
#include "panels/form.h"
#include "panels/session.h"
#include "utilities/su_ascii.h"

namespace fs = std::filesystem;

namespace vexmor::cli {

namespace {

// ------------------------------------------------------------ shared steps

double Number(PanelRun& run, std::string_view panel, std::string_view control) {
  return LeadingNumber(run.Text(panel, control));
}

// The file dialog's answer for these inputs, as a user's selection gives it:
// one file as its path, several as their folder and their names. Inputs of
// several folders are named from the folder they share.
std::string SelectionAnswer(const Job& job, bool plainPathForOne) {
  if (job.inputs.size() == 1 && plainPathForOne) return job.inputs[0];
  fs::path common = fs::path(job.inputs[0]).parent_path();
  const auto under = [](const fs::path& path, const fs::path& folder) {
    const std::string f = folder.string();
    const std::string p = path.string();
    return p.size() > f.size() && p.compare(0, f.size(), f) == 0 && (f.back() == '/' || p[f.size()] == '/');
  };
  for (const std::string& input : job.inputs) {
    while (!under(input, common) && common.has_parent_path() && common != common.parent_path()) {
      common = common.parent_path();
    }
  }
  std::string answer = common.string();
  for (const std::string& input : job.inputs) answer += " " + fs::path(input).lexically_relative(common).string();
  return answer;
}

void OpenFromMain(PanelRun& run, std::string_view option, std::string_view panel) {
  run.Do({"open", "MainPanel"});
  run.Do({"click", std::string(option)});
  run.Do({"use", std::string(panel)});
}

// Types each option given into its control, as a user corrects a field.
void TypeOptions(PanelRun& run, std::span<const RouteOption> options, const Job& job) {
  for (const RouteOption& option : options) {
    if (option.control.empty()) continue;
    if (const std::string* value = job.Value(option.name)) run.Do({"set", std::string(option.control), *value});
  }
}

void Show(Plan& plan, PanelRun& run, std::string_view panel, std::span<const RouteOption> options) {
  for (const RouteOption& option : options) {
    if (!option.control.empty()) plan.numbers.emplace_back(option.name, run.Text(panel, option.control));
  }
}

// The count of a record that the header or the options must give.
bool Positive(Plan& plan, const std::string& file, double value, std::string_view what, std::string_view option) {
  if (value >= 1) return true;
  plan.problems.push_back(file + ": " + std::string(what) + " read as " + PlainDigits(value) +
                          "; give --" + std::string(option));
  return false;
}

void AtMost(Plan& plan, const std::string& file, double value, double limit, std::string_view what) {
  if (value <= limit) return;
  plan.problems.push_back(file + ": " + PlainDigits(value) + " " + std::string(what) + ", the panel takes at most " +
                          Grouped(static_cast<int64_t>(limit)));
}

// "REC3.DAT: 4096 bytes, a record of 24 channels × 1000 samples needs at
// least 48,000".
void NeedBytes(Plan& plan, const Job& job, int64_t need, const std::string& record) {
  for (size_t k = 0; k < job.inputs.size(); ++k) {
    if (job.sizes[k] >= need) continue;
    plan.problems.push_back(job.inputs[k] + ": " + Grouped(job.sizes[k]) + " bytes, " + record + " at least " +
                            Grouped(need));
  }
}

void SetOutput(PanelRun& run, std::string_view control, const std::string& staged) {
  run.Do({"set", std::string(control), staged});
}

std::string Staged(const std::string& stage, const std::string& name) { return (fs::path(stage) / name).string(); }

// ------------------------------------------------------------ abem

constexpr RouteOption kAbemOptions[] = {
    {"channels", "Text3", "channels per record", "line 113 of the header"},
    {"samples", "Text4", "samples per trace", "(file size - 2048) / channels / 2"},
    {"interval", "Text5", "sample interval, microseconds", "line 7 of the header; 100 when it reads 0"},
};

Plan AbemProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option5", "abem");
  run.Do({"answer", "dialog", SelectionAnswer(job, true)});
  run.Do({"click", "Command4"});
  TypeOptions(run, kAbemOptions, job);
  Plan plan;
  Show(plan, run, "abem", kAbemOptions);
  const double channels = Number(run, "abem", "Text3");
  const double samples = Number(run, "abem", "Text4");
  plan.interval = Number(run, "abem", "Text5");
  const std::string& probe = job.inputs.size() > 1 ? job.inputs[1] : job.inputs[0];
  if (!Positive(plan, probe, channels, "channels", "channels") || !Positive(plan, probe, samples, "samples", "samples")) {
    return plan;
  }
  AtMost(plan, probe, samples, 32767, "samples per trace");
  AtMost(plan, probe, channels * static_cast<double>(job.inputs.size()), 32768, "traces in one output");
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  const std::string record = "a record of " + PlainDigits(channels) + " channels × " + PlainDigits(samples) + " samples";
  NeedBytes(plan, job, kAbemDataStart + 2 * static_cast<int64_t>(channels) * plan.samples, record + " needs");
  // The traces lie one behind the other: a record of another length holds
  // another number of samples, and would be read at the wrong places.
  for (size_t k = 0; k < job.inputs.size(); ++k) {
    int32_t own = 0;
    try {
      own = AbemSamplesPerTrace(job.sizes[k], static_cast<int16_t>(channels));
    } catch (const std::exception&) {
      own = INT32_MAX;
    }
    if (own > plan.samples) {
      plan.problems.push_back(job.inputs[k] + ": " + Grouped(job.sizes[k]) + " bytes, " + PlainDigits(own) +
                              " samples a trace where the others have " + PlainDigits(samples) +
                              "; convert it on its own");
    }
  }
  return plan;
}

void AbemConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ es1225

constexpr RouteOption kEs1225Options[] = {
    {"samples", "Text4", "samples per trace", "1000"},
    {"length", "", "record length in ms: 25, 50, 100, 250, 500, 1000 or 2000; the interval in us follows", "250"},
};

constexpr int kEs1225Lengths[] = {25, 50, 100, 250, 500, 1000, 2000};

Plan Es1225Probe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option4", "es1225");
  run.Do({"answer", "dialog", SelectionAnswer(job, false)});
  run.Do({"click", "Command3"});
  TypeOptions(run, kEs1225Options, job);
  Plan plan;
  plan.interval = 250;
  if (const std::string* length = job.Value("length")) {
    const double ms = LeadingNumber(*length);
    const auto* at = std::find(std::begin(kEs1225Lengths), std::end(kEs1225Lengths), ms);
    if (at == std::end(kEs1225Lengths)) {
      plan.problems.push_back("--length " + *length + ": not a record length of the instrument (25, 50, 100, 250, "
                              "500, 1000 or 2000 ms)");
      return plan;
    }
    run.Do({"choose", "Combo1", std::to_string(at - std::begin(kEs1225Lengths))});
    plan.interval = ms;
  }
  Show(plan, run, "es1225", kEs1225Options);
  plan.numbers.emplace_back("length", PlainDigits(plan.interval) + " ms");
  const double channels = Number(run, "es1225", "Text3");
  const double samples = Number(run, "es1225", "Text4");
  if (!Positive(plan, job.inputs[0], samples, "samples", "samples")) return plan;
  AtMost(plan, job.inputs[0], samples, 32767, "samples per trace");
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  // The traces are counted back from the end: a file is long enough when
  // the header left in front of them is.
  const int64_t need = kEs1225SmallestDataStart + 1 + static_cast<int64_t>(channels) * Es1225BlockSize(plan.samples);
  NeedBytes(plan, job, need,
            "a record of " + PlainDigits(channels) + " channels × " + PlainDigits(samples) + " samples needs");
  return plan;
}

// ------------------------------------------------------------ oyo

constexpr RouteOption kOyoOptions[] = {
    {"channels", "", "channels per record (the panel's question)", "the record's text block"},
    {"samples", "Text4", "samples per trace", "the record's text block"},
    {"interval", "Text6", "sample interval, milliseconds", "the record's text block"},
    {"type", "", "sample type: int16 or int32", "int32"},
};

Plan OyoProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option10", "oyo");
  if (const std::string* channels = job.Value("channels")) run.Do({"answer", "prompt", *channels});
  run.Do({"answer", "dialog", SelectionAnswer(job, false)});
  run.Do({"click", "Command3"});
  TypeOptions(run, kOyoOptions, job);
  Plan plan;
  int bytes = 4;
  if (const std::string* type = job.Value("type")) {
    if (*type == "int16") {
      run.Do({"click", "sinteger"});
      bytes = 2;
    } else if (*type != "int32") {
      plan.problems.push_back("--type " + *type + ": int16 or int32 expected");
      return plan;
    }
  }
  plan.numbers.emplace_back("channels", run.Text("oyo", "Text3"));
  Show(plan, run, "oyo", kOyoOptions);
  plan.numbers.emplace_back("type", bytes == 2 ? "int16" : "int32");
  const double channels = Number(run, "oyo", "Text3");
  const double samples = Number(run, "oyo", "Text4");
  plan.interval = RoundHalfEven(Number(run, "oyo", "Text6") * 1000);
  const std::string& probe = job.inputs[0];
  if (!Positive(plan, probe, channels, "channels", "channels") || !Positive(plan, probe, samples, "samples", "samples") ||
      !Positive(plan, probe, plan.interval, "sample interval (us)", "interval")) {
    return plan;
  }
  AtMost(plan, probe, samples, 32767, "samples per trace");
  AtMost(plan, probe, plan.interval, 32767, "microseconds of sample interval");
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  NeedBytes(plan, job, kOyoDataStart + static_cast<int64_t>(channels) * plan.samples * bytes,
            "a record of " + PlainDigits(channels) + " channels × " + PlainDigits(samples) + " samples needs");
  return plan;
}

void Es1225OyoConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ generic

constexpr RouteOption kGenericOptions[] = {
    {"channels", "Text3", "traces per record", "24"},
    {"samples", "Text4", "samples per trace", "1024"},
    {"interval", "Text5", "sample interval, microseconds", "480"},
    {"header", "Text7", "bytes of the file header ahead of the traces", "2048"},
    {"trace-header", "Text8", "bytes ahead of every trace", "0"},
    {"type", "", "sample type: int16, int32 or float32", "int32"},
};

// The generic conversion with the numbers in the panel's fields. `fixed`
// holds numbers that another panel read, typed in before the options.
Plan GenericSelect(PanelRun& run, const Job& job, const std::vector<std::pair<std::string, std::string>>& fixed,
                   std::string_view defaultType) {
  OpenFromMain(run, "Option7", "sisforme");
  run.Do({"answer", "dialog", SelectionAnswer(job, true)});
  run.Do({"click", "Command5"});
  for (const auto& [control, value] : fixed) run.Do({"set", control, value});
  TypeOptions(run, kGenericOptions, job);
  Plan plan;
  const std::string type = job.ValueOr("type", std::string(defaultType));
  int bytes = 4;
  if (type == "int16") {
    run.Do({"click", "Option1"});
    bytes = 2;
  } else if (type == "float32") {
    run.Do({"click", "Option3"});
  } else if (type != "int32") {
    plan.problems.push_back("--type " + type + ": int16, int32 or float32 expected");
    return plan;
  }
  Show(plan, run, "sisforme", kGenericOptions);
  plan.numbers.emplace_back("type", type);
  const double channels = Number(run, "sisforme", "Text3");
  const double samples = Number(run, "sisforme", "Text4");
  const double header = Number(run, "sisforme", "Text7");
  const double traceHeader = Number(run, "sisforme", "Text8");
  plan.interval = Number(run, "sisforme", "Text5");
  const std::string& first = job.inputs[0];
  if (!Positive(plan, first, channels, "channels", "channels") || !Positive(plan, first, samples, "samples", "samples")) {
    return plan;
  }
  AtMost(plan, first, samples, 32767, "samples per trace");
  AtMost(plan, first, channels * static_cast<double>(job.inputs.size()), 32768, "traces in one output");
  if (header < 0 || traceHeader < 0) plan.problems.push_back(first + ": a header size below 0");
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  const auto need = static_cast<int64_t>(header + channels * (traceHeader + samples * bytes));
  NeedBytes(plan, job, need,
            "a record of " + PlainDigits(header) + " header bytes and " + PlainDigits(channels) + " traces of " +
                PlainDigits(traceHeader) + " + " + PlainDigits(samples) + " × " + std::to_string(bytes) +
                " bytes needs");
  return plan;
}

Plan GenericProbe(PanelRun& run, const Job& job) { return GenericSelect(run, job, {}, "int32"); }

void GenericConvert(PanelRun& run, const Job&, const std::string& stage) {
  run.Do({"use", "sisforme"});
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ mcseis3

constexpr RouteOption kMcSeis3Options[] = {
    {"channels", "", "traces per record", "3"},
    {"samples", "", "samples per trace", "445"},
    {"interval", "", "sample interval, microseconds", "byte 40 of the record"},
    {"header", "", "bytes of the file header ahead of the traces (the layout is not known: needed)", "none"},
    {"trace-header", "", "bytes ahead of every trace", "0"},
    {"type", "", "sample type: int16, int32 or float32", "int16"},
};

// The McSeis 3 panel reads the interval; the generic conversion does the
// rest with its numbers.
Plan McSeis3Probe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option10", "oyo");
  run.Do({"click", "Command5"});
  run.Do({"use", "HandyViewer"});
  run.Do({"answer", "dialog", SelectionAnswer(job, true)});
  run.Do({"click", "Command5"});
  const std::vector<std::pair<std::string, std::string>> fixed = {
      {"Text3", run.Text("HandyViewer", "Text3")},
      {"Text4", run.Text("HandyViewer", "Text4")},
      {"Text5", run.Text("HandyViewer", "Text5")},
      {"Text8", "0"},
  };
  run.Do({"close", "HandyViewer"});
  if (job.Value("header") == nullptr) {
    Plan plan;
    plan.problems.push_back(job.inputs[0] +
                            ": the McSeis 3 layout past byte 40 is not known; give --header BYTES, the bytes "
                            "ahead of the first trace");
    return plan;
  }
  return GenericSelect(run, job, fixed, "int16");
}

// ------------------------------------------------------------ ramac

constexpr RouteOption kRamacOptions[] = {
    {"traces", "Text2", "traces of the profile", "LAST TRACE: of the .rad"},
    {"samples", "Text6", "samples per trace", "SAMPLES: of the .rad"},
    {"interval", "Text4", "sampling interval, nanoseconds", "TIME INTERVAL: of the .rad"},
    {"spacing", "Text3", "distance between traces", "DISTANCE INTERVAL: of the .rad"},
    {"time-zero", "Text8", "samples removed at the top of each trace", "0"},
};

Plan RamacProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option12", "Radar_F");
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command3"});
  TypeOptions(run, kRamacOptions, job);
  Plan plan;
  plan.intervalUnit = "ns";
  Show(plan, run, "Radar_F", kRamacOptions);
  const std::string& input = job.inputs[0];
  const double traces = RoundHalfEven(Number(run, "Radar_F", "Text2"));
  const double samples = Number(run, "Radar_F", "Text6");
  const double timeZero = RoundHalfEven(Number(run, "Radar_F", "Text8"));
  plan.interval = Number(run, "Radar_F", "Text4");
  // Unknown timing would be asked for on screen: here it is an option.
  if (!Positive(plan, input, traces, "traces", "traces") || !Positive(plan, input, samples, "samples", "samples")) {
    return plan;
  }
  if (RoundHalfEven(plan.interval * 1000) < 1 || plan.interval * 1000 > 32767) {
    plan.problems.push_back(input + ": sampling interval read as " + PlainDigits(plan.interval) +
                            " ns, 0.001 to 32.767 expected; give --interval");
    return plan;
  }
  if (const std::string limit = RamacLimitProblem(traces, samples, timeZero); !limit.empty()) {
    plan.problems.push_back(input + ": " + limit);
    return plan;
  }
  plan.traces = static_cast<int64_t>(traces);
  plan.samples = static_cast<int32_t>(samples - timeZero);
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  NeedBytes(plan, job, static_cast<int64_t>(traces * samples * 2),
            "a profile of " + PlainDigits(traces) + " traces × " + PlainDigits(samples) + " samples needs");
  return plan;
}

void RamacConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text5", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ SU exports

// An SU file the exports can read: a whole number of traces of the size
// that the first ns gives.
Plan SuProbe(const Job& job, SharedState& state) {
  Plan plan;
  const std::string& input = job.inputs[0];
  const int64_t size = job.sizes[0];
  int16_t ns = 0;
  if (size >= 240) {
    BinaryFile su(input, BinaryFile::Mode::Read);
    ns = su.ReadI16(SuWordNamed("ns").offset);
    state.SampleInterval = su.ReadI16(SuWordNamed("dt").offset);
  }
  const int64_t traceSize = 240 + 4 * int64_t{ns};
  if (size < 240 || ns <= 0 || size % traceSize != 0) {
    plan.problems.push_back(input + ": " + Grouped(size) + " bytes, an SU file of traces of 240 + 4 × " +
                            std::to_string(ns) + " bytes (ns of the first header) expected");
    return plan;
  }
  plan.samples = ns;
  plan.traces = size / traceSize;
  plan.interval = state.SampleInterval;
  return plan;
}

// The export reads the file under a name of the output's making: a link in
// the work folder, since the panel names its output after its input.
std::string LinkInput(const Job& job, const std::string& stage) {
  const std::string link = Staged(stage, "data.su");
  fs::create_symlink(job.inputs[0], link);
  return link;
}

constexpr RouteOption kSu2AsciiOptions[] = {
    {"first", "", "first trace to export", "1"},
    {"last", "", "last trace to export", "the last trace"},
};

Plan Su2AsciiProbe(PanelRun& run, const Job& job) {
  run.Do({"open", "MainPanel"});
  Plan plan = SuProbe(job, run.GetSession().State());
  plan.numbers.emplace_back("first", job.ValueOr("first", "1"));
  plan.numbers.emplace_back("last", job.ValueOr("last", std::to_string(plan.traces)));
  return plan;
}

void Su2AsciiConvert(PanelRun& run, const Job& job, const std::string& stage) {
  const std::string link = LinkInput(job, stage);
  run.Do({"answer", "message", "6"});
  run.Do({"answer", "dialog", link});
  run.Do({"answer", "prompt", job.ValueOr("first", "1")});
  if (const std::string* last = job.Value("last")) run.Do({"answer", "prompt", *last});
  run.Do({"click", "Option24"});
}

constexpr RouteOption kChannelOptions[] = {
    {"first", "", "first channel (trace) to write", "1"},
    {"last", "", "last channel (trace) to write", "the channels of the first record"},
};

struct ChannelRange {
  int64_t first = 1;
  int64_t last = 0;
};

ChannelRange ChannelsAsked(const Plan& plan, const Job& job) {
  ChannelRange range;
  range.first = static_cast<int64_t>(RoundHalfEven(LeadingNumber(job.ValueOr("first", "1"))));
  const auto& numbers = plan.numbers;
  const auto channels = std::find_if(numbers.begin(), numbers.end(), [](const auto& n) { return n.first == "channels"; });
  const std::string fallback = channels == numbers.end() ? "0" : channels->second;
  range.last = static_cast<int64_t>(RoundHalfEven(LeadingNumber(job.ValueOr("last", fallback))));
  return range;
}

// Where the panel can't count channels (a constant tracf, a short file),
// the traces of the first record: those up to the first change of fldr.
int64_t FirstRecordTraces(const std::string& path, const Plan& plan) {
  if (plan.samples <= 0 || plan.traces <= 0) return 0;
  BinaryFile file(ResolveExisting(path), BinaryFile::Mode::Read);
  const int64_t record = 240 + 4 * int64_t{plan.samples};
  const int32_t first = file.ReadI32(8);
  int64_t n = 1;
  while (n < plan.traces && file.ReadI32(n * record + 8) == first) ++n;
  return n;
}

// The channels of the file: the panel's own count, else those of the first
// record. The export's "last channel" when --last isn't given.
int16_t ChannelsOf(const Job& job, SharedState& state, const Plan& plan) {
  int32_t traces = 0;
  int16_t channels = 0;
  Calcul_Channel(job.inputs[0], traces, channels, state);
  if (channels <= 0) channels = static_cast<int16_t>(std::min<int64_t>(FirstRecordTraces(job.inputs[0], plan), 32767));
  return channels;
}

Plan ChannelsProbe(PanelRun& run, const Job& job) {
  run.Do({"open", "MainPanel"});
  SharedState& state = run.GetSession().State();
  Plan plan = SuProbe(job, state);
  if (!plan.problems.empty()) return plan;
  const int16_t channels = ChannelsOf(job, state, plan);
  plan.numbers.emplace_back("channels", std::to_string(channels));
  const ChannelRange range = ChannelsAsked(plan, job);
  plan.numbers.emplace_back("first", std::to_string(range.first));
  plan.numbers.emplace_back("last", std::to_string(range.last));
  if (std::max<int64_t>(range.first, 1) > std::min<int64_t>(range.last, plan.traces)) {
    plan.problems.push_back(job.inputs[0] + ": no channel from " + std::to_string(range.first) + " to " +
                            std::to_string(range.last) + " among its " + std::to_string(plan.traces) +
                            " traces; give --first and --last");
  }
  return plan;
}

// The endings the export gives: they count along the run, two digits.
std::vector<std::string> ChannelEndings(const Plan& plan, const Job& job) {
  const ChannelRange range = ChannelsAsked(plan, job);
  std::set<std::string> endings;
  for (int64_t c = std::max<int64_t>(range.first, 1); c <= std::min<int64_t>(range.last, plan.traces); ++c) {
    const int two = static_cast<int>((c - range.first + 1) % 100);
    endings.insert({static_cast<char>('0' + two / 10), static_cast<char>('0' + two % 10)});
  }
  return {endings.begin(), endings.end()};
}

void ChannelsConvert(PanelRun& run, const Job& job, const std::string& stage) {
  const std::string link = LinkInput(job, stage);
  run.Do({"answer", "message", "1"});
  run.Do({"answer", "dialog", link});
  run.Do({"answer", "prompt", job.ValueOr("first", "1")});
  if (const std::string* last = job.Value("last")) {
    run.Do({"answer", "prompt", *last});
  } else {
    // The panel's own default is its count, 0 where it finds no channel.
    SharedState& state = run.GetSession().State();
    run.Do({"answer", "prompt", std::to_string(ChannelsOf(job, state, SuProbe(job, state)))});
  }
  run.Do({"click", "Option8"});
}

// ------------------------------------------------------------ bison

constexpr RouteOption kBisonOptions[] = {
    {"channels", "Text3", "traces per record", "field 14 of the header"},
    {"samples", "Text4", "samples per trace", "field 16 of the header"},
    {"interval", "Text5", "sample interval, microseconds", "field 17 of the header (ms) x 1000"},
    {"header", "Text7", "bytes of the header ahead of the traces", "up to the header's end mark"},
};

Plan BisonProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option14", "Bison");
  run.Do({"answer", "dialog", SelectionAnswer(job, true)});
  run.Do({"click", "Command5"});
  TypeOptions(run, kBisonOptions, job);
  Plan plan;
  Show(plan, run, "Bison", kBisonOptions);
  const double channels = Number(run, "Bison", "Text3");
  const double samples = Number(run, "Bison", "Text4");
  const double header = Number(run, "Bison", "Text7");
  plan.interval = Number(run, "Bison", "Text5");
  const std::string& probe = job.inputs.size() > 1 ? job.inputs[1] : job.inputs[0];
  if (!Positive(plan, probe, channels, "channels", "channels") || !Positive(plan, probe, samples, "samples", "samples")) {
    return plan;
  }
  // Five words carry four samples: the words of a trace must fit 16 bits.
  AtMost(plan, probe, samples, 26213, "samples per trace");
  AtMost(plan, probe, channels * static_cast<double>(job.inputs.size()), 32768, "traces in one output");
  if (!plan.problems.empty()) return plan;
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  const int64_t words = BisonTraceWords(plan.samples);
  NeedBytes(plan, job, static_cast<int64_t>(header) + static_cast<int64_t>(channels) * 2 * words,
            "a record of " + PlainDigits(header) + " header bytes and " + PlainDigits(channels) + " traces of " +
                std::to_string(words) + " words needs");
  return plan;
}

void BisonConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ pasi

constexpr RouteOption kPasiOptions[] = {
    {"channels", "Text3", "traces per record", "12"},
    {"samples", "Text4", "samples per trace", "512"},
    {"interval", "Text5", "sample interval, microseconds", "500"},
};

// A text record holds fewer values than the numbers need: the panel would
// fill the rest with zeros.
void NeedValues(Plan& plan, const std::string& file, int64_t size, int64_t found, int64_t need,
                const std::string& record) {
  if (found >= need) return;
  plan.problems.push_back(file + ": " + Grouped(size) + " bytes holding " + Grouped(found) + " values, " + record +
                          " needs " + Grouped(need));
}

Plan PasiProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option16", "pasi");
  run.Do({"answer", "dialog", SelectionAnswer(job, false)});
  run.Do({"click", "Command5"});
  TypeOptions(run, kPasiOptions, job);
  Plan plan;
  Show(plan, run, "pasi", kPasiOptions);
  const double channels = Number(run, "pasi", "Text3");
  const double samples = Number(run, "pasi", "Text4");
  plan.interval = Number(run, "pasi", "Text5");
  const std::string& first = job.inputs[0];
  if (!Positive(plan, first, channels, "channels", "channels") || !Positive(plan, first, samples, "samples", "samples")) {
    return plan;
  }
  AtMost(plan, first, samples, 8131, "samples per trace");
  AtMost(plan, first, channels * static_cast<double>(job.inputs.size()), 32768, "traces in one output");
  if (!plan.problems.empty()) return plan;
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  if (!job.check) return plan;
  const std::string record = "a record of " + PlainDigits(channels) + " channels × " + PlainDigits(samples) + " samples";
  std::vector<float> trace(static_cast<size_t>(plan.samples));
  for (size_t k = 0; k < job.inputs.size(); ++k) {
    PasiReader reader(ReadWholeFile(job.inputs[k]));
    int64_t found = 0;
    for (int t = 0; t < static_cast<int>(channels); ++t) {
      found += static_cast<int64_t>(std::min(reader.ReadTrace(trace), trace.size()));
    }
    NeedValues(plan, job.inputs[k], job.sizes[k], found, static_cast<int64_t>(channels) * plan.samples, record);
  }
  return plan;
}

void PasiConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ ambrogeo

constexpr RouteOption kAmbrogeoOptions[] = {
    {"channels", "Text1", "traces per record", "line 8 of the record"},
    {"samples", "Text3", "samples per trace", "line 9 of the record"},
    {"interval", "", "sampling rate, microseconds (the panel's question)", "line 11 (12 channels) or 12 (24)"},
};

Plan AmbrogeoProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option19", "Ambrogeo");
  run.Do({"answer", "dialog", SelectionAnswer(job, true)});
  if (const std::string* interval = job.Value("interval")) run.Do({"answer", "prompt", *interval});
  run.Do({"click", "Command5"});
  TypeOptions(run, kAmbrogeoOptions, job);
  Plan plan;
  Show(plan, run, "Ambrogeo", kAmbrogeoOptions);
  plan.numbers.emplace_back("interval", run.Text("Ambrogeo", "Text4"));
  const double channels = Number(run, "Ambrogeo", "Text1");
  const double samples = Number(run, "Ambrogeo", "Text3");
  plan.interval = Number(run, "Ambrogeo", "Text4");
  const std::string& probe = job.inputs.size() > 1 ? job.inputs[1] : job.inputs[0];
  if (!Positive(plan, probe, channels, "channels", "channels") || !Positive(plan, probe, samples, "samples", "samples") ||
      !Positive(plan, probe, plan.interval, "sampling rate", "interval")) {
    return plan;
  }
  AtMost(plan, probe, samples, 32767, "samples per trace");
  AtMost(plan, probe, channels, kAmbrogeoRowValues, "channels (a row holds 24 values)");
  AtMost(plan, probe, channels * static_cast<double>(job.inputs.size()), 32768, "traces in one output");
  if (!plan.problems.empty()) return plan;
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(channels) * static_cast<int64_t>(job.inputs.size());
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  if (!job.check) return plan;
  std::vector<std::vector<int16_t>> matrix(1, std::vector<int16_t>(static_cast<size_t>(plan.samples)));
  for (size_t k = 0; k < job.inputs.size(); ++k) {
    const AmbrogeoRecord record = ReadAmbrogeoRecord(ReadWholeFile(job.inputs[k]), plan.samples, matrix);
    if (record.rowsRead >= plan.samples) continue;
    plan.problems.push_back(job.inputs[k] + ": " + Grouped(job.sizes[k]) + " bytes holding " +
                            std::to_string(record.rowsRead) + " rows of 24 values behind its 37 header lines, " +
                            PlainDigits(samples) + " samples need as many rows");
  }
  return plan;
}

// ------------------------------------------------------------ dt1

constexpr RouteOption kDt1Options[] = {
    {"traces", "Text8", "traces of the line", "NUMBER OF TRACES of the .HD"},
    {"samples", "Text6", "points per trace", "NUMBER OF PTS/TRC of the .HD"},
    {"interval", "Text5", "sampling interval, nanoseconds", "TOTAL TIME WINDOW / points of the .HD"},
    {"spacing", "Text4", "distance between traces", "(FINAL - STARTING POSITION) / traces of the .HD"},
    {"time-zero", "Text3", "samples removed at the top of each trace", "TIMEZERO AT POINT of the .HD"},
};

Plan Dt1Probe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option17", "DT1");
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command1"});
  TypeOptions(run, kDt1Options, job);
  Plan plan;
  plan.intervalUnit = "ns";
  Show(plan, run, "DT1", kDt1Options);
  const std::string& input = job.inputs[0];
  const double traces = RoundHalfEven(Number(run, "DT1", "Text8"));
  const double samples = RoundHalfEven(Number(run, "DT1", "Text6"));
  const double timeZero = RoundHalfEven(Number(run, "DT1", "Text3"));
  plan.interval = Number(run, "DT1", "Text5");
  if (!Positive(plan, input, traces, "traces", "traces") || !Positive(plan, input, samples, "points per trace", "samples") ||
      !Positive(plan, input, samples - timeZero, "points below time zero", "time-zero")) {
    return plan;
  }
  AtMost(plan, input, samples - timeZero, 8131, "samples per output trace");
  if (!plan.problems.empty()) return plan;
  plan.traces = static_cast<int64_t>(traces);
  plan.samples = static_cast<int32_t>(samples - timeZero);
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  NeedBytes(plan, job, Dt1SamplesOffset(plan.traces, static_cast<int64_t>(samples)) + 2 * static_cast<int64_t>(samples),
            "a line of " + PlainDigits(traces) + " traces of 128 header bytes + " + PlainDigits(samples) +
                " points needs");
  return plan;
}

void Dt1Convert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command3"});
}

// ------------------------------------------------------------ ascii

constexpr RouteOption kAsciiOptions[] = {
    {"samples", "Text3", "samples per trace (rows)", "512"},
    {"traces", "Text5", "traces (columns)", "(values - 1) / samples, as the panel counts"},
    {"interval", "Text4", "sample interval, written to dt as given", "100"},
    {"radar", "", "mark the traces as radar traces (nhs 95)", "off", true},
};

Plan AsciiProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option23", "ASCII2SU");
  const std::string& input = job.inputs[0];
  Plan plan;
  int64_t values = 0;
  try {
    values = CountColumnValues(MappedFile(input).Text());
  } catch (const std::exception&) {
    plan.problems.push_back(input + ": can't be read");
    return plan;
  }
  const double samples = RoundHalfEven(LeadingNumber(job.ValueOr("samples", "512")));
  const double counted = samples == 0 ? 0 : RoundHalfEven(static_cast<double>(values - 1) / samples);
  run.Do({"set", "Text1", input});
  run.Do({"set", "Text3", PlainDigits(samples)});
  run.Do({"set", "Text5", job.ValueOr("traces", PlainDigits(counted))});
  run.Do({"set", "Text4", job.ValueOr("interval", "100")});
  if (job.Value("radar") != nullptr) run.Do({"click", "Check1"});
  Show(plan, run, "ASCII2SU", kAsciiOptions);
  plan.numbers.emplace_back("radar", job.Value("radar") != nullptr ? "yes" : "no");
  plan.numbers.emplace_back("values", Grouped(values));
  const double traces = RoundHalfEven(Number(run, "ASCII2SU", "Text5"));
  plan.interval = RoundHalfEven(Number(run, "ASCII2SU", "Text4"));
  if (!Positive(plan, input, samples, "samples", "samples") || !Positive(plan, input, traces, "traces", "traces") ||
      !Positive(plan, input, plan.interval, "interval", "interval")) {
    return plan;
  }
  AtMost(plan, input, samples, 8131, "samples per trace");
  AtMost(plan, input, traces, 32767, "traces");
  if (!plan.problems.empty()) return plan;
  plan.samples = static_cast<int32_t>(samples);
  plan.traces = static_cast<int64_t>(traces);
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  if (values < plan.traces * plan.samples) {
    plan.problems.push_back(input + ": " + Grouped(job.sizes[0]) + " bytes holding " + Grouped(values) +
                            " values, " + PlainDigits(traces) + " traces × " + PlainDigits(samples) +
                            " samples need " + Grouped(plan.traces * plan.samples));
  }
  return plan;
}

void AsciiConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command3"});
}

// ------------------------------------------------------------ dzt

constexpr RouteOption kDztOptions[] = {
    {"samples", "Text3", "words per trace (two samples each)", "samples per scan / 2 of the header"},
    {"traces", "Text5", "traces", "the bytes behind the 1024 of the header"},
    {"interval", "Text4", "sampling rate, nanoseconds (needed: the header's is not read)", "none"},
    {"bits", "", "bits of a sample: 8 or 16", "the header"},
    {"spacing", "Text6", "distance between traces", "0.10"},
};

Plan DztProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option18", "DZT2");
  run.Do({"click", "Command2"});
  run.Do({"use", "DZT_old"});
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command1"});
  TypeOptions(run, kDztOptions, job);
  Plan plan;
  plan.intervalUnit = "ns";
  const std::string& input = job.inputs[0];
  if (const std::string* bits = job.Value("bits")) {
    if (*bits != "8" && *bits != "16") {
      plan.problems.push_back("--bits " + *bits + ": 8 or 16 expected");
      return plan;
    }
    run.Do({"choose", "Combo1", *bits == "8" ? "0" : "1"});
  }
  Show(plan, run, "DZT_old", kDztOptions);
  const std::string bits = run.Text("DZT_old", "Combo1");
  plan.numbers.emplace_back("bits", bits);
  const int width = bits == "8" ? 1 : 2;
  const double words = RoundHalfEven(Number(run, "DZT_old", "Text3"));
  const double traces = RoundHalfEven(Number(run, "DZT_old", "Text5"));
  plan.interval = RoundHalfEven(Number(run, "DZT_old", "Text4"));
  if (!Positive(plan, input, words, "words per trace", "samples") || !Positive(plan, input, traces, "traces", "traces") ||
      !Positive(plan, input, plan.interval, "sampling rate (ns)", "interval")) {
    return plan;
  }
  AtMost(plan, input, words, 8131, "words per trace");
  AtMost(plan, input, plan.interval, 32767, "ns of sampling rate");
  if (!plan.problems.empty()) return plan;
  plan.samples = static_cast<int32_t>(words);
  plan.traces = static_cast<int64_t>(traces);
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  // The count from the file's size rounds a last part-trace in or out: a
  // file cut short in a trace says so, unless the traces are given.
  const int64_t traceBytes = 2 * int64_t{plan.samples} * width;
  const int64_t data = job.sizes[0] - kDztWordsHeaderBytes;
  if (job.Value("traces") == nullptr && data % traceBytes != 0) {
    plan.problems.push_back(input + ": " + Grouped(job.sizes[0]) + " bytes, 1024 header bytes and " + Grouped(data) +
                            " more, not a whole number of traces of " + Grouped(traceBytes) +
                            " bytes (cut short?); give --traces to convert what is there");
  }
  NeedBytes(plan, job, DztWordsTraceOffset(plan.traces + 1, plan.samples, width),
            "1024 header bytes and " + PlainDigits(traces) + " traces of " + PlainDigits(words) + " words of " +
                std::to_string(2 * width) + " bytes need");
  return plan;
}

// ------------------------------------------------------------ dolang

constexpr RouteOption kDolangOptions[] = {
    {"channels", "Text2", "channels per record", "field 5 of the .ADT"},
    {"records", "Text3", "records (shots)", "field 6 of the .ADT"},
    {"samples", "Text6", "samples per trace", "field 9 of the .ADT"},
    {"interval", "Text4", "sample interval, microseconds", "field 8 / field 9 of the .ADT x 1000"},
};

// The info file is the input whose name does not end in a digit: the
// panel's selection passes it over among the channel files.
bool IsChannelFile(const std::string& path) {
  const std::string name = fs::path(path).filename().string();
  return !name.empty() && std::isdigit(static_cast<unsigned char>(name.back()));
}

Plan DolangProbe(PanelRun& run, const Job& job) {
  Plan plan;
  std::vector<std::string> infos;
  Job channels = job;
  channels.inputs.clear();
  channels.sizes.clear();
  for (size_t k = 0; k < job.inputs.size(); ++k) {
    if (IsChannelFile(job.inputs[k])) {
      channels.inputs.push_back(job.inputs[k]);
      channels.sizes.push_back(job.sizes[k]);
    } else {
      infos.push_back(job.inputs[k]);
    }
  }
  if (infos.size() != 1 || channels.inputs.empty()) {
    plan.problems.push_back(job.inputs[0] + ": one info file (.ADT) and the channel files (.A01, .A02, ...) expected "
                            "among the inputs, found " + std::to_string(infos.size()) + " and " +
                            std::to_string(channels.inputs.size()));
    return plan;
  }
  OpenFromMain(run, "Option6", "DOLANG");
  run.Do({"answer", "dialog", SelectionAnswer(job, false)});
  run.Do({"answer", "dialog", infos[0]});
  run.Do({"click", "Command6"});
  TypeOptions(run, kDolangOptions, job);
  Show(plan, run, "DOLANG", kDolangOptions);
  const double perRecord = Number(run, "DOLANG", "Text2");
  const double records = Number(run, "DOLANG", "Text3");
  const double samples = Number(run, "DOLANG", "Text6");
  plan.interval = Number(run, "DOLANG", "Text4");
  const std::string& info = infos[0];
  if (!Positive(plan, info, perRecord, "channels", "channels") || !Positive(plan, info, records, "records", "records") ||
      !Positive(plan, info, samples, "samples", "samples") ||
      !Positive(plan, info, plan.interval, "sample interval", "interval")) {
    return plan;
  }
  AtMost(plan, info, samples, 8131, "samples per trace");
  AtMost(plan, info, plan.interval, 32767, "microseconds of sample interval");
  if (!plan.problems.empty()) return plan;
  plan.traces = static_cast<int64_t>(perRecord) * static_cast<int64_t>(records);
  if (plan.traces > static_cast<int64_t>(channels.inputs.size())) {
    plan.problems.push_back(info + ": " + PlainDigits(records) + " records of " + PlainDigits(perRecord) +
                            " channels need " + Grouped(plan.traces) + " channel files, " +
                            std::to_string(channels.inputs.size()) + " given");
    return plan;
  }
  plan.samples = static_cast<int32_t>(samples);
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
  if (!job.check) return plan;
  std::vector<float> trace(static_cast<size_t>(plan.samples));
  for (size_t k = 0; k < static_cast<size_t>(plan.traces); ++k) {
    const size_t found = ReadChannelTrace(ReadWholeFile(channels.inputs[k]), trace);
    NeedValues(plan, channels.inputs[k], channels.sizes[k], static_cast<int64_t>(found), plan.samples,
               "a trace of " + PlainDigits(samples) + " samples");
  }
  return plan;
}

void DolangConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text5", Staged(stage, "out.su"));
  run.Do({"click", "Command1"});
}

// ------------------------------------------------------------ KGS

constexpr RouteOption kKgsToSuOptions[] = {
    {"depth", "", "source depth below surface (the panel's question)", "1"},
};

// An input whose records all have the size that ns gives: the panel would
// count a cut last record (rounded) and write it padded with zeros.
void WholeRecords(Plan& plan, const Job& job, int64_t record, std::string_view what) {
  if (record > 0 && job.sizes[0] % record == 0 && job.sizes[0] > 0) return;
  plan.problems.push_back(job.inputs[0] + ": " + Grouped(job.sizes[0]) + " bytes, " + std::string(what) +
                          " of " + Grouped(record) + " bytes each (ns at byte 114) expected");
}

int16_t WordAt(const Job& job, int offset) {
  if (job.sizes[0] < offset + 2) return 0;
  BinaryFile file(job.inputs[0], BinaryFile::Mode::Read);
  return file.ReadI16(offset);
}

Plan KgsToSuProbe(PanelRun& run, const Job& job, std::string_view option, KgsKind kind) {
  OpenFromMain(run, option, "Convert");
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command3"});
  Plan plan;
  plan.numbers.emplace_back("depth", job.ValueOr("depth", "1"));
  const int16_t ns = WordAt(job, kKgsNsOffset);
  plan.interval = WordAt(job, kKgsDtOffset);
  if (ns < 1) {
    plan.problems.push_back(job.inputs[0] + ": ns read as " + std::to_string(ns) + " at byte 114, 1 or more expected");
    return plan;
  }
  if (kind == KgsKind::Integer) plan.numbers.emplace_back("channels", std::to_string(WordAt(job, kKgsChannelsOffset)));
  const int64_t record = KgsRecordSize(kind, ns);
  WholeRecords(plan, job, record, "KGS records");
  plan.samples = ns;
  plan.traces = job.sizes[0] / record;
  plan.outputBytes = plan.traces * (240 + 4 * int64_t{ns});
  return plan;
}

Plan KgsiProbe(PanelRun& run, const Job& job) { return KgsToSuProbe(run, job, "Option3", KgsKind::Integer); }
Plan KgsProbe(PanelRun& run, const Job& job) { return KgsToSuProbe(run, job, "Option9", KgsKind::Floating); }

void KgsToSuConvert(PanelRun& run, const Job& job, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"answer", "prompt", job.ValueOr("depth", "1")});
  run.Do({"click", "Command2"});
}

constexpr RouteOption kSuToKgsOptions[] = {
    {"data-type", "", "data type when the channels cannot be counted: 0 raw field, 1 CDP gather, 2 CDP stacked, "
                      "3 trace number index, 4 velocity scan", "2"},
    {"record-word", "", "trace-header word of the record number (8, 12, 19, 86, 87 or 92)", "12"},
    {"trace-word", "", "trace-header word of the trace number in each record (0: input order)", "0"},
    {"direction", "", "trace direction: 1 ascending, -1 descending", "1"},
};

// The channels counted here decide whether the panel asks the data type.
Plan SuToKgsProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option11", "Convert");
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command3"});
  SharedState& state = run.GetSession().State();
  Plan plan = SuProbe(job, state);
  if (!plan.problems.empty()) return plan;
  state.NbSamples = plan.samples;
  int16_t channels = 0;
  CountChannels(job.inputs[0], static_cast<int32_t>(plan.traces), channels, state);
  plan.numbers.emplace_back("channels", std::to_string(channels));
  for (const RouteOption& option : kSuToKgsOptions) {
    if (option.name == "data-type" && channels != 0) continue;
    const std::string answer = job.ValueOr(std::string(option.name), std::string(option.fallback));
    plan.numbers.emplace_back(option.name, answer);
    run.Do({"answer", "prompt", answer});
  }
  plan.outputBytes = job.sizes[0];
  return plan;
}

void SuToKgsConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.dat"));
  // The answers are queued by the probe, which knows whether the data type
  // is asked.
  run.Do({"click", "Command2"});
}

// ------------------------------------------------------------ add

constexpr RouteOption kAddOptions[] = {
    {"delete-inputs", "", "delete the inputs once the joined file is in place", "kept", true},
};

// Every input a whole SU file: the panel appends bytes as they are.
Plan AddProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option20", "Add_SU_files");
  run.Do({"answer", "dialog", SelectionAnswer(job, false)});
  run.Do({"click", "Command1"});
  // The panel's own deleting would come before the output is in place.
  Form* panel = run.GetSession().Find("Add_SU_files");
  Control* check = panel ? panel->Find("Check1") : nullptr;
  if (check != nullptr && check->Value()) run.Do({"click", "Check1"});
  Plan plan;
  plan.outputBytes = 0;
  for (size_t k = 0; k < job.inputs.size(); ++k) {
    Job one;
    one.inputs = {job.inputs[k]};
    one.sizes = {job.sizes[k]};
    const Plan own = SuProbe(one, run.GetSession().State());
    plan.problems.insert(plan.problems.end(), own.problems.begin(), own.problems.end());
    if (k == 0) {
      plan.samples = own.samples;
      plan.interval = own.interval;
    } else if (own.problems.empty() && own.samples != plan.samples) {
      plan.problems.push_back(job.inputs[k] + ": " + std::to_string(own.samples) + " samples a trace where " +
                              job.inputs[0] + " has " + std::to_string(plan.samples));
    }
    plan.traces += own.traces;
    plan.outputBytes += job.sizes[k];
  }
  plan.numbers.emplace_back("files", std::to_string(job.inputs.size()));
  plan.numbers.emplace_back("delete-inputs", job.Value("delete-inputs") ? "yes" : "no");
  return plan;
}

void AddConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command2"});
}

void AddAfterWritten(const Job& job) {
  if (job.Value("delete-inputs") == nullptr) return;
  for (const std::string& input : job.inputs) {
    std::error_code ec;
    fs::remove(input, ec);
  }
}

// ------------------------------------------------------------ segd

// The record is read by our tool in a job: what it finds is known only
// from what it writes.
Plan SegdProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option13", "Convert");
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command3"});
  return {};
}

// The job script and the files the tools leave go to the work folder, not
// beside the input as the panel's job puts them.
void JobsInWorkFolder(PanelRun& run) { run.GetSession().State().FolderOf = WorkFolder(); }

void JobConvert(PanelRun& run, const Job&, const std::string& stage) {
  JobsInWorkFolder(run);
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  run.Do({"click", "Command2"});
}

// ------------------------------------------------------------ segy

constexpr RouteOption kSegyOptions[] = {
    {"samples", "Text4", "samples per trace (ns=)", "byte 3714 of the file"},
    {"conv", "Text6", "1: IBM floats to native", "1 (0 when the bytes are swapped)"},
    {"over", "Text7", "1: go on past an unknown sample format", "0 (1 when the bytes are swapped)"},
    {"endian", "Text8", "byte order of the file for the reader", "0"},
    {"from", "Text1", "first trace", "1"},
    {"to", "Text3", "last trace", "the traces the file's size gives"},
};

Plan SegyProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option2", "SEGY");
  run.Do({"answer", "dialog", SelectionAnswer(job, true)});
  run.Do({"click", "Command1"});
  Plan plan;
  for (const std::string& message : run.TakeMessages()) {
    if (message.find("can't be read") != std::string::npos) plan.problems.push_back(message);
  }
  // No console window to show the job: it runs hidden.
  run.Do({"set", "Text9", "0"});
  TypeOptions(run, kSegyOptions, job);
  Show(plan, run, "SEGY", kSegyOptions);
  plan.samples = static_cast<int32_t>(Number(run, "SEGY", "Text4"));
  plan.traces = static_cast<int64_t>(Number(run, "SEGY", "Text5"));
  plan.interval = run.GetSession().State().SampleInterval;
  // Every trace of the file, when all are asked for: a cut last trace that
  // the reader leaves out is a failure, not a shorter line.
  if (job.Value("from") == nullptr && job.Value("to") == nullptr && plan.samples > 0) {
    plan.outputBytes = plan.traces * (240 + 4 * int64_t{plan.samples});
    // The reader pads a cut last trace with zeros: refused here instead.
    const int16_t format = WordAt(job, 3224);
    const int bytes = format == 3 || format == 0x0300 ? 2 : 4;
    const int64_t trace = 240 + bytes * int64_t{plan.samples};
    if (job.sizes[0] < 3600 + trace || (job.sizes[0] - 3600) % trace != 0) {
      plan.problems.push_back(job.inputs[0] + ": " + Grouped(job.sizes[0]) + " bytes, a SEG-Y file of 3,600 + traces of " +
                              Grouped(trace) + " bytes (" + std::to_string(plan.samples) + " samples) expected");
    }
  }
  return plan;
}

void SegyConvert(PanelRun& run, const Job&, const std::string& stage) {
  SetOutput(run, "Text2", Staged(stage, "out.su"));
  JobsInWorkFolder(run);
  // Its test run reads in the current folder and leaves the reel headers
  // there: the work folder takes them (the frame goes back).
  fs::current_path(WorkFolder());
  // The panel's test run of the first traces enables Convert.
  run.Do({"click", "Command5"});
  run.Do({"click", "Command2"});
}

// ------------------------------------------------------------ su2segy

constexpr RouteOption kSu2SegyOptions[] = {
    {"from", "Text3", "first trace", "1"},
    {"to", "Text4", "last trace", "the traces of the file"},
    {"buffer", "Text5", "buffered (0 or 1)", "1"},
    {"conv", "Text6", "1: samples to IBM floats", "1"},
    {"errmax", "Text7", "errors allowed", "0"},
    {"endian", "Text8", "byte order of the output (0 for PC)", "0"},
};

Plan Su2SegyProbe(PanelRun& run, const Job& job) {
  OpenFromMain(run, "Option15", "SU2SGY");
  run.Do({"answer", "dialog", job.inputs[0]});
  run.Do({"click", "Command3"});
  Plan plan = SuProbe(job, run.GetSession().State());
  if (!plan.problems.empty()) return plan;
  TypeOptions(run, kSu2SegyOptions, job);
  Show(plan, run, "SU2SGY", kSu2SegyOptions);
  // Every trace asked: the output is the reel headers and every trace.
  if (job.Value("from") == nullptr && job.Value("to") == nullptr) {
    plan.outputBytes = 3600 + plan.traces * (240 + 4 * int64_t{plan.samples});
  }
  return plan;
}

void Su2SegyConvert(PanelRun& run, const Job&, const std::string& stage) {
  // This panel's job runs in the current folder, where its header writer
  // leaves two files: the work folder takes them (the frame goes back).
  JobsInWorkFolder(run);
  fs::current_path(WorkFolder());
  SetOutput(run, "Text2", Staged(stage, "out.sgy"));
  run.Do({"click", "Command2"});
}

// ------------------------------------------------------------ the table

const Route kRoutes[] = {
    {"generic", "any binary record described by its numbers, to SU (\"Other files to Seismic Unix\")", "sisforme",
     kGenericOptions, 99, GenericProbe, GenericConvert, "OK, Conversion done"},
    {"abem", "ABEM Mark 3 records to SU", "abem", kAbemOptions, 99, AbemProbe, AbemConvert, "OK, Conversion done"},
    {"es1225", "ES-1225 records to SU", "es1225", kEs1225Options, 99, Es1225Probe, Es1225OyoConvert,
     "Conversion done"},
    {"oyo", "OYO McSeis 170 records to SU", "oyo", kOyoOptions, 99, OyoProbe, Es1225OyoConvert, "Conversion done"},
    {"mcseis3", "McSeis 3 records to SU: the interval from the record, the layout from the options", "sisforme",
     kMcSeis3Options, 99, McSeis3Probe, GenericConvert, "OK, Conversion done"},
    {"ramac", "a RAMAC radar profile (.rd3 with its .rad) to SU", "Radar_F", kRamacOptions, 1, RamacProbe,
     RamacConvert, "OK Conversion done"},
    {"su2ascii", "an SU file to one text file of columns, a trace a column", "MainPanel", kSu2AsciiOptions, 1,
     Su2AsciiProbe, Su2AsciiConvert, " has been recorded", nullptr, "This module allow you to export"},
    {"su2ascii-channels", "an SU file to one text file for each channel (OUTPUT01, OUTPUT02, ...)", "MainPanel",
     kChannelOptions, 1, ChannelsProbe, ChannelsConvert, "Conversion OK", ChannelEndings,
     " This module writes one file per channel"},
    {"bison", "Bison 5000 records to SU", "Bison", kBisonOptions, 99, BisonProbe, BisonConvert, "OK, Conversion done"},
    {"pasi", "PASI LCM-12 text records to SU", "pasi", kPasiOptions, 99, PasiProbe, PasiConvert, "Conversion, done !"},
    {"ambrogeo", "Ambrogeo text records to SU", "Ambrogeo", kAmbrogeoOptions, 99, AmbrogeoProbe, BisonConvert,
     "OK, Conversion done"},
    {"dt1", "an EKKO radar line (.DT1 with its .HD) to SU", "DT1", kDt1Options, 1, Dt1Probe, Dt1Convert,
     "OK, Conversion done"},
    {"ascii", "a text of columns, a trace a column, to SU", "ASCII2SU", kAsciiOptions, 1, AsciiProbe, AsciiConvert,
     "Conversion OK! "},
    {"dzt", "a GSSI DZT radar file to SU, read directly", "DZT_old", kDztOptions, 1, DztProbe, AsciiConvert,
     "Conversion OK! "},
    {"dolang", "a Dolang shot (its channel files and its .ADT) to SU", "DOLANG", kDolangOptions, 100, DolangProbe,
     DolangConvert, "OK Conversion done"},
    {"kgsi", "a KGS integer file (.EVD) to SU", "Convert", kKgsToSuOptions, 1, KgsiProbe, KgsToSuConvert,
     "Conversion OK"},
    {"kgs", "a KGS floating file to SU", "Convert", kKgsToSuOptions, 1, KgsProbe, KgsToSuConvert, "Conversion OK"},
    {"su2kgs", "an SU file to KGS floating", "Convert", kSuToKgsOptions, 1, SuToKgsProbe, SuToKgsConvert,
     "Conversion OK"},
    {"add", "SU files joined one behind the other into one", "Add_SU_files", kAddOptions, 99, AddProbe, AddConvert,
     " has been recorded OK", nullptr, {}, AddAfterWritten},
    {"segd", "a SEG-D record to SU, by our reader in a job", "Convert", {}, 1, SegdProbe, JobConvert, "", nullptr, {},
     nullptr, true},
    {"segy", "a SEG-Y file to SU, by our reader in a job", "SEGY", kSegyOptions, 1, SegyProbe, SegyConvert,
     " Conversion OK", nullptr, " Bytes are swapped", nullptr, true},
    {"su2segy", "an SU file to SEG-Y, by our writer in a job", "SU2SGY", kSu2SegyOptions, 1, Su2SegyProbe,
     Su2SegyConvert, " Conversion OK"},
};

}  // namespace

std::span<const Route> Routes() { return kRoutes; }

const Route* FindRoute(std::string_view name) {
  for (const Route& route : kRoutes) {
    if (route.name == name) return &route;
  }
  return nullptr;
}

}  // namespace vexmor::cli
