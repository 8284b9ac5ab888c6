#include "seg2_to_su.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <new>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"

namespace vexmor {

namespace {

// The numbers of a value text, in order ("12.5 0 -3", "12.5,0"); reading
// stops at the first word that is not a number.
std::vector<double> Numbers(const std::string& text) {
  std::vector<double> out;
  const char* p = text.data();
  const char* end = p + text.size();
  while (p < end) {
    while (p < end && (*p == ' ' || *p == '\t' || *p == ',' || *p == ';')) ++p;
    if (p == end) break;
    if (*p == '+') ++p;
    double v = 0;
    const auto [next, ec] = std::from_chars(p, end, v);
    if (ec != std::errc() || next == p) break;
    out.push_back(v);
    p = next;
  }
  return out;
}

bool FirstNumber(const std::string* text, double& value) {
  if (text == nullptr) return false;
  const std::vector<double> v = Numbers(*text);
  if (v.empty()) return false;
  value = v[0];
  return true;
}

// Sets a word; a value that does not fit is left out with a note.
void TrySet(SuHeader& h, const char* word, double value, std::vector<std::string>& notes, const char* from) {
  try {
    h.Set(word, value);
  } catch (const RunTimeFailure&) {
    notes.push_back(std::string(from) + " " + ShortestText(value) + " does not fit " + word + ", left out");
  }
}

// The power of ten that keeps every value whole in a 32-bit word: 0 to 4.
int DecimalsNeeded(const std::vector<double>& values) {
  for (int k = 0; k <= 4; ++k) {
    const double scale = std::pow(10.0, k);
    bool whole = true;
    for (double v : values) {
      const double scaled = v * scale;
      if (std::fabs(scaled) > 2147483647.0) return std::max(0, k - 1);
      if (std::fabs(scaled - std::nearbyint(scaled)) > 1e-6 * std::max(1.0, std::fabs(scaled)) + 1e-9) whole = false;
    }
    if (whole) return k;
  }
  return 4;
}

// Positions x, y, z: "RECEIVER_LOCATION x [y [z]]".
struct Position {
  bool given = false;
  double x = 0, y = 0, z = 0;
  size_t parts = 0;
};

Position ReadPosition(const std::string* text) {
  Position p;
  if (text == nullptr) return p;
  const std::vector<double> v = Numbers(*text);
  if (v.empty()) return p;
  p.given = true;
  p.parts = v.size();
  p.x = v[0];
  if (v.size() > 1) p.y = v[1];
  if (v.size() > 2) p.z = v[2];
  return p;
}

void SetCoordinates(SuHeader& h, const Position& source, const Position& receiver, std::vector<std::string>& notes) {
  if (!source.given && !receiver.given) return;
  const int k = DecimalsNeeded({source.x, source.y, receiver.x, receiver.y});
  const double scale = std::pow(10.0, k);
  TrySet(h, "scalco", k == 0 ? 1 : -scale, notes, "coordinate scale");
  h.Set("counit", 1);
  if (source.given) {
    TrySet(h, "sx", source.x * scale, notes, "SOURCE_LOCATION");
    TrySet(h, "sy", source.y * scale, notes, "SOURCE_LOCATION");
  }
  if (receiver.given) {
    TrySet(h, "gx", receiver.x * scale, notes, "RECEIVER_LOCATION");
    TrySet(h, "gy", receiver.y * scale, notes, "RECEIVER_LOCATION");
  }
  if (source.given && receiver.given) {
    // Signed along the line: the sign of the x step, the length of the whole step.
    const double dx = receiver.x - source.x, dy = receiver.y - source.y;
    const double length = std::hypot(dx, dy);
    TrySet(h, "offset", dx < 0 ? -length : length, notes, "offset");
  }
}

void SetElevations(SuHeader& h, const Position& source, const Position& receiver, const std::string* datum,
                   std::vector<std::string>& notes) {
  double datumValue = 0;
  const bool hasDatum = FirstNumber(datum, datumValue);
  const bool hasSourceZ = source.parts > 2, hasReceiverZ = receiver.parts > 2;
  if (!hasDatum && !hasSourceZ && !hasReceiverZ) return;
  const int k = DecimalsNeeded({source.z, receiver.z, datumValue});
  const double scale = std::pow(10.0, k);
  TrySet(h, "scalel", k == 0 ? 1 : -scale, notes, "elevation scale");
  if (hasSourceZ) TrySet(h, "selev", source.z * scale, notes, "SOURCE_LOCATION");
  if (hasReceiverZ) TrySet(h, "gelev", receiver.z * scale, notes, "RECEIVER_LOCATION");
  if (hasDatum) {
    TrySet(h, "sdel", datumValue * scale, notes, "DATUM");
    TrySet(h, "gdel", datumValue * scale, notes, "DATUM");
  }
}

// "f slope" pairs of the filter strings.
void SetFilter(SuHeader& h, const std::string* text, const char* frequencyWord, const char* slopeWord,
               std::vector<std::string>& notes, const char* key) {
  if (text == nullptr) return;
  const std::vector<double> v = Numbers(*text);
  if (!v.empty()) TrySet(h, frequencyWord, v[0], notes, key);
  if (v.size() > 1 && slopeWord != nullptr) TrySet(h, slopeWord, v[1], notes, key);
}

int TraceIdOf(const std::string* type) {
  if (type == nullptr) return 1;
  static const std::array<std::pair<const char*, int>, 5> kinds = {
      {{"SEISMIC_DATA", 1}, {"DEAD", 2}, {"TEST_DATA", 3}, {"TIMEBREAK", 4}, {"UPHOLE", 5}}};
  for (const auto& [name, id] : kinds) {
    if (type->rfind(name, 0) == 0) return id;
  }
  return 1;
}

bool IsRadar(const Seg2Trace& trace, double interval) {
  const std::string* type = trace.Find("TRACE_TYPE");
  return (type != nullptr && type->rfind("RADAR", 0) == 0) || (interval > 0 && interval < 1e-6);
}

void SetTiming(SuHeader& h, const Seg2Trace& trace, std::vector<std::string>& notes) {
  double interval = 0;
  if (!FirstNumber(trace.Find("SAMPLE_INTERVAL"), interval) || interval <= 0) {
    notes.push_back("no SAMPLE_INTERVAL: dt left 0");
  } else if (IsRadar(trace, interval)) {
    // Radar: dt holds the nanoseconds x 1000, nhs 95 marks the trace.
    TrySet(h, "dt", interval * 1e12, notes, "SAMPLE_INTERVAL");
    h.Set("nhs", 95);
  } else {
    const double micro = interval * 1e6;
    TrySet(h, "dt", micro, notes, "SAMPLE_INTERVAL");
    if (std::fabs(micro - std::nearbyint(micro)) > 1e-6) {
      notes.push_back("sample interval of " + ShortestText(micro) + " microseconds: dt holds whole ones, " +
                      ShortestText(RoundHalfEven(micro)) + " written");
    }
  }
  double delay = 0;
  if (FirstNumber(trace.Find("DELAY"), delay)) TrySet(h, "delrt", delay * 1000.0, notes, "DELAY");
}

void SetDateWords(SuHeader& h, const Seg2File& file, std::vector<std::string>& notes) {
  int year = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (const std::string* date = file.Find("ACQUISITION_DATE")) {
    if (Seg2Date(*date, year, day)) {
      h.Set("year", year);
      h.Set("day", day);
    } else {
      notes.push_back("ACQUISITION_DATE \"" + *date + "\" not understood");
    }
  }
  if (const std::string* time = file.Find("ACQUISITION_TIME")) {
    if (Seg2Time(*time, hour, minute, second)) {
      h.Set("hour", hour);
      h.Set("minute", minute);
      h.Set("sec", second);
    } else {
      notes.push_back("ACQUISITION_TIME \"" + *time + "\" not understood");
    }
  }
}

int MonthOf(std::string_view text) {
  static const char* names[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  if (text.size() < 3) return 0;
  std::string head(text.substr(0, 3));
  for (char& c : head) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  for (int m = 0; m < 12; ++m) {
    if (head == names[m]) return m + 1;
  }
  return 0;
}

bool ParseInt(std::string_view text, int& value) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  const auto [p, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && p == text.data() + text.size();
}

std::vector<std::string_view> Split(std::string_view text, char sep) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  while (true) {
    const size_t at = text.find(sep, start);
    parts.push_back(text.substr(start, at - start));
    if (at == std::string_view::npos) break;
    start = at + 1;
  }
  return parts;
}

}  // namespace

bool Seg2Date(const std::string& text, int& year, int& dayOfYear) {
  const std::string_view t(text);
  std::vector<std::string_view> parts = Split(t, '/');
  int d = 0, m = 0, y = 0;
  if (parts.size() == 3) {
    if (!ParseInt(parts[0], d) || !ParseInt(parts[2], y)) return false;
    m = MonthOf(parts[1]);
    if (m == 0 && !ParseInt(parts[1], m)) return false;
  } else if (parts = Split(t, '-'); parts.size() == 3) {
    if (!ParseInt(parts[0], y) || !ParseInt(parts[2], d)) return false;
    m = MonthOf(parts[1]);
    if (m == 0 && !ParseInt(parts[1], m)) return false;
  } else {
    return false;
  }
  if (y >= 0 && y < 100) y += y < 70 ? 2000 : 1900;
  if (m < 1 || m > 12 || y < 1 || y > 9999) return false;
  const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
  static const int length[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int monthLength = length[m - 1] + (m == 2 && leap ? 1 : 0);
  if (d < 1 || d > monthLength) return false;
  int day = d;
  for (int k = 1; k < m; ++k) day += length[k - 1] + (k == 2 && leap ? 1 : 0);
  year = y;
  dayOfYear = day;
  return true;
}

bool Seg2Time(const std::string& text, int& hour, int& minute, int& second) {
  const std::vector<std::string_view> parts = Split(text, ':');
  if (parts.size() < 2 || parts.size() > 3) return false;
  int h = 0, m = 0, s = 0;
  if (!ParseInt(parts[0], h) || !ParseInt(parts[1], m)) return false;
  if (parts.size() == 3) {
    std::string_view sec = parts[2];
    sec = sec.substr(0, sec.find('.'));  // fractions of a second have no word
    if (!ParseInt(sec, s)) return false;
  }
  if (h < 0 || h > 23 || m < 0 || m > 59 || s < 0 || s > 60) return false;
  hour = h;
  minute = m;
  second = s;
  return true;
}

SuHeader Seg2TraceHeader(const Seg2File& file, const Seg2Trace& trace, const Seg2TracePlace& place,
                         int32_t outputSamples, std::vector<std::string>& notes) {
  SuHeader h;
  h.Set("tracl", place.outputTrace);
  h.Set("tracr", place.outputTrace);
  double value = 0;
  const std::string* shot = trace.Find("SHOT_SEQUENCE_NUMBER");
  if (shot == nullptr) shot = file.Find("SHOT_SEQUENCE_NUMBER");
  if (FirstNumber(shot, value)) TrySet(h, "fldr", value, notes, "SHOT_SEQUENCE_NUMBER");
  else h.Set("fldr", place.filePlace);
  if (FirstNumber(trace.Find("CHANNEL_NUMBER"), value)) TrySet(h, "tracf", value, notes, "CHANNEL_NUMBER");
  else h.Set("tracf", place.traceInFile);
  if (FirstNumber(trace.Find("SOURCE_STATION_NUMBER"), value)) TrySet(h, "ep", value, notes, "SOURCE_STATION_NUMBER");
  if (FirstNumber(trace.Find("CDP_NUMBER"), value)) TrySet(h, "cdp", value, notes, "CDP_NUMBER");
  if (FirstNumber(trace.Find("CDP_TRACE"), value)) TrySet(h, "cdpt", value, notes, "CDP_TRACE");
  h.Set("trid", TraceIdOf(trace.Find("TRACE_TYPE")));
  h.Set("nvs", 1);
  if (FirstNumber(trace.Find("STACK"), value)) TrySet(h, "nvs", value, notes, "STACK");
  h.Set("ns", outputSamples);
  SetTiming(h, trace, notes);

  const Position source = ReadPosition(trace.Find("SOURCE_LOCATION"));
  const Position receiver = ReadPosition(trace.Find("RECEIVER_LOCATION"));
  SetCoordinates(h, source, receiver, notes);
  SetElevations(h, source, receiver, trace.Find("DATUM"), notes);

  SetFilter(h, trace.Find("LOW_CUT_FILTER"), "lcf", "lcs", notes, "LOW_CUT_FILTER");
  SetFilter(h, trace.Find("HIGH_CUT_FILTER"), "hcf", "hcs", notes, "HIGH_CUT_FILTER");
  SetFilter(h, trace.Find("ALIAS_FILTER"), "afilf", "afils", notes, "ALIAS_FILTER");
  SetFilter(h, trace.Find("NOTCH_FREQUENCY"), "nofilf", nullptr, notes, "NOTCH_FREQUENCY");
  if (FirstNumber(trace.Find("FIXED_GAIN"), value)) TrySet(h, "igc", value, notes, "FIXED_GAIN");
  // Source, receiver and total statics, in milliseconds as SU keeps them.
  if (const std::string* statics = trace.Find("STATIC_CORRECTIONS")) {
    const std::vector<double> v = Numbers(*statics);
    const char* words[] = {"sstat", "gstat", "tstat"};
    for (size_t k = 0; k < std::min<size_t>(3, v.size()); ++k) TrySet(h, words[k], v[k], notes, "STATIC_CORRECTIONS");
  }
  SetDateWords(h, file, notes);
  return h;
}

namespace {

// One input file: its descriptors, read once for the check of the whole list.
struct Input {
  std::string path;
  int place = 0;
  bool ok = false;
  Seg2File file;
};

// A device or a folder named in the list is refused before any read.
BinaryFile OpenSeg2(const std::string& path) {
  struct stat st {};
  const std::string actual = ResolveExisting(path);
  if (::stat(actual.c_str(), &st) != 0) throw Seg2Error(path + ": cannot be read (" + std::strerror(errno) + ")");
  if (!S_ISREG(st.st_mode)) throw Seg2Error(path + ": cannot be read (not a plain file)");
  return BinaryFile(path, BinaryFile::Mode::Read);
}

void CheckInput(Input& in, Seg2SuReport& report) {
  try {
    BinaryFile f = OpenSeg2(in.path);
    in.file = ReadSeg2(f);
    in.ok = true;
  } catch (const Seg2Error& e) {
    report.messages.push_back(e.what());
  } catch (const RunTimeFailure& e) {
    report.messages.push_back(std::string(e.what()));
  } catch (const std::bad_alloc&) {
    report.messages.push_back(in.path + ": out of memory");
  }
}

void Note(Seg2SuReport& report, const std::string& path, std::vector<std::string>& notes) {
  std::sort(notes.begin(), notes.end());
  notes.erase(std::unique(notes.begin(), notes.end()), notes.end());
  for (const std::string& n : notes) report.messages.push_back(path + ": " + n);
  notes.clear();
}

// The traces of one file, read and decoded one by one: a file of any size
// costs one trace of memory. Reads past the end give zeros, so a file
// changed since the check can't send a read out of bounds.
void ConvertInput(Input& in, int32_t& outputTrace, int32_t ns, const SuRecordWriter& write,
                  const Seg2SuOptions& options, Seg2SuReport& report) {
  BinaryFile f(in.path, BinaryFile::Mode::Read);
  f.AdviseSequential();
  const Seg2File file = ReadSeg2(f);
  std::vector<uint8_t> record(static_cast<size_t>(kSuHeaderBytes) + 4 * static_cast<size_t>(ns));
  uint8_t* samples = record.data() + kSuHeaderBytes;
  std::vector<float> decoded(static_cast<size_t>(ns));
  std::vector<std::string> notes = file.notes;
  for (size_t t = 0; t < file.traces.size(); ++t) {
    const Seg2Trace& trace = file.traces[t];
    if (trace.samples > ns) throw Seg2Error(in.path + ": changed while read");
    const Seg2TracePlace place{outputTrace + static_cast<int32_t>(t), in.place, static_cast<int32_t>(t + 1)};
    const SuHeader h = Seg2TraceHeader(file, trace, place, ns, notes);
    std::memcpy(record.data(), h.Data(), kSuHeaderBytes);
    std::fill(decoded.begin() + trace.samples, decoded.end(), 0.0f);
    ReadSeg2Trace(f, file, trace, decoded.data());
    double factor = 1;
    if (options.descale && FirstNumber(trace.Find("DESCALING_FACTOR"), factor)) {
      for (float& v : decoded) v = static_cast<float>(v * factor);
    }
    if (trace.samples < ns) {
      notes.push_back("traces of " + std::to_string(trace.samples) + " samples padded with zeros to " +
                      std::to_string(ns));
    }
    // SU samples are little-endian floats.
    if constexpr (std::endian::native == std::endian::little) {
      // Records of no samples (every trace empty) have no buffer to copy.
      if (!decoded.empty()) std::memcpy(samples, decoded.data(), 4 * decoded.size());
    } else {
      for (size_t k = 0; k < decoded.size(); ++k) PutLEFloat(samples + 4 * k, decoded[k]);
    }
    write(record.data(), record.size());
  }
  outputTrace += static_cast<int32_t>(file.traces.size());
  report.traces += static_cast<int64_t>(file.traces.size());
  report.tracesLost += file.lostTraces;
  report.tracesCut += file.cutTraces;
  Note(report, in.path, notes);
}

}  // namespace

std::string Seg2SuSummary(const Seg2SuReport& r, const std::string& output) {
  const auto plural = [](int64_t n, const char* word) { return std::to_string(n) + " " + word + (n == 1 ? "" : "s"); };
  if (r.traces == 0) {
    return "nothing written to " + output + ": " +
           (r.filesFailed == 1 ? std::string("the file could not be converted")
                               : "none of the " + plural(r.filesFailed, "file") + " could be converted");
  }
  std::string text = plural(r.traces, "trace") + " of " + std::to_string(r.samples) + " samples from " +
                     plural(r.filesDone, "file") + " written to " + output;
  if (r.filesFailed > 0) text += "; " + plural(r.filesFailed, "file") + " could not be converted";
  if (r.tracesLost > 0) text += "; " + plural(r.tracesLost, "trace") + " lost in files cut short";
  if (r.tracesCut > 0) text += "; " + plural(r.tracesCut, "trace") + " cut short, padded with zeros";
  return text;
}

Seg2SuReport ConvertSeg2ToSu(const std::vector<std::string>& inputs, const SuRecordWriter& write,
                             const Seg2SuOptions& options, const std::function<void(int, int)>& progress) {
  Seg2SuReport report;
  std::vector<Input> list(inputs.size());
  // First the descriptors of every file, so that the output gets one ns:
  // the longest trace of the whole list.
  for (size_t k = 0; k < inputs.size(); ++k) {
    list[k].path = inputs[k];
    list[k].place = static_cast<int>(k + 1);
    CheckInput(list[k], report);
    if (!list[k].ok) continue;
    for (const Seg2Trace& t : list[k].file.traces) report.samples = std::max(report.samples, t.samples);
  }
  // Padding to the longest trace may at most double what the files hold: a
  // list of empty traces and one long one would otherwise make gigabytes of
  // zeros from a few kilobytes.
  int64_t present = 0, padding = 0, traces = 0;
  for (const Input& in : list) {
    if (!in.ok) continue;
    for (const Seg2Trace& t : in.file.traces) {
      present += t.samples;
      padding += report.samples - t.samples;
      ++traces;
    }
  }
  if (padding > present) {
    report.messages.push_back("the traces run from few samples to " + std::to_string(report.samples) +
                              ": padding all " + std::to_string(traces) + " of them to that length would write " +
                              std::to_string(padding) + " zero samples for " + std::to_string(present) +
                              " real ones; nothing converted (convert the files of short traces apart)");
    report.filesFailed = static_cast<int>(list.size());
    return report;
  }
  int32_t outputTrace = 1;
  const int total = static_cast<int>(list.size());
  for (int k = 0; k < total; ++k) {
    Input& in = list[size_t(k)];
    if (in.ok) {
      try {
        ConvertInput(in, outputTrace, report.samples, write, options, report);
        ++report.filesDone;
      } catch (const Seg2Error& e) {
        report.messages.push_back(e.what());
        ++report.filesFailed;
      } catch (const RunTimeFailure& e) {
        report.messages.push_back(e.what());
        ++report.filesFailed;
      } catch (const std::bad_alloc&) {
        report.messages.push_back(in.path + ": too large to hold in memory");
        ++report.filesFailed;
      }
    } else {
      ++report.filesFailed;
    }
    if (progress) progress(k + 1, total);
  }
  return report;
}

}  // namespace vexmor
