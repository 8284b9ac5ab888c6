#include "core/su_trace.h"

#include <cmath>
#include <limits>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/shared_state.h"

namespace vexmor {

namespace {

using enum WordType;

constexpr std::array<SuWord, kSuWordCount> kWords = {{
    {1, 0, 4, Int32, "tracl", "Trace sequence number within line."},
    {2, 4, 4, Int32, "tracr", "Trace sequence number within reel."},
    {3, 8, 4, Int32, "fldr", "Original field record number."},
    {4, 12, 4, Int32, "tracf", "Trace sequence number within original field record."},
    {5, 16, 4, Int32, "ep", "Energy source point number."},
    {6, 20, 4, Int32, "cdp", "CDP ensemble number."},
    {7, 24, 4, Int32, "cdpt", "Trace sequence number within CDP ensemble."},
    {8, 28, 2, Int16, "trid", "Trace identification code:1=data, 2=dead..."},
    {9, 30, 2, Int16, "nvs", "Number of vertically summed traces yielding this trace."},
    {10, 32, 2, Int16, "nhs", "Number of horizontally stacked traced yielding this trace."},
    {11, 34, 2, Int16, "duse", "Data use (1 = production, 2 = test)."},
    {12, 36, 4, Int32, "offset", "Distance from source point to receiver group."},
    {13, 40, 4, Int32, "gelev", "Receiver group elevation."},
    {14, 44, 4, Int32, "selev", "Surface elevation at source."},
    {15, 48, 4, Int32, "sdepth", "Source depth below surface."},
    {16, 52, 4, Int32, "gdel", "Datum elevation at receiver group."},
    {17, 56, 4, Int32, "sdel", "Datum elevation at source."},
    {18, 60, 4, Int32, "swdep", "Water depth at source."},
    {19, 64, 4, Int32, "gwdep", "Water depth at receiver group."},
    {20, 68, 2, Int16, "scalel", "Scalar for elevations and depths (+ = multiplier,"},
    {21, 70, 2, Int16, "scalco", "Scalar for coordinates (+ = multiplier,"},
    {22, 72, 4, Int32, "sx", "X source coordinate."},
    {23, 76, 4, Int32, "sy", "Y source coordinate."},
    {24, 80, 4, Int32, "gx", "X receiver group coordinate."},
    {25, 84, 4, Int32, "gy", "Y receiver group coordinate."},
    {26, 88, 2, Int16, "counit", "Coordinate units (1 = length in meters or feet, 2 = arc seconds)."},
    {27, 90, 2, Int16, "wevel", "Weathering velocity."},
    {28, 92, 2, Int16, "swevel", "Subweathering velocity."},
    {29, 94, 2, Int16, "sut", "Uphole time at source."},
    {30, 96, 2, Int16, "gut", "Uphole time at receiver group."},
    {31, 98, 2, Int16, "sstat", "Source static correction."},
    {32, 100, 2, Int16, "gstat", "Receiver group static correction."},
    {33, 102, 2, Int16, "tstat", "Total static applied."},
    {34, 104, 2, Int16, "laga", "Lag time between end of header and time break in milliseconds."},
    {35, 106, 2, Int16, "lagb", "Lag time between time break and shot in milliseconds."},
    {36, 108, 2, Int16, "delrt", "Lag time beteen shot and recording start in milliseconds."},
    {37, 110, 2, Int16, "muts", "Start of mute time"},
    {38, 112, 2, Int16, "mute", "End of mute time."},
    {39, 114, 2, Int16, "ns", "Number of samples in this trace."},
    {40, 116, 2, Int16, "dt", "Sample interval of this trace in microseconds."},
    {41, 118, 2, Int16, "gain", "Field instrument gain type code:3=FPT,1=fixed"},
    {42, 120, 2, Int16, "igc", "Instrument gain constant."},
    {43, 122, 2, Int16, "igi", "Intrument early gain in decibels."},
    {44, 124, 2, Int16, "corr", "Correlated (1 = no, 2 = yes)."},
    {45, 126, 2, Int16, "sfs", "Sweep frequency at start."},
    {46, 128, 2, Int16, "sfe", "Sweep fequency at end."},
    {47, 130, 2, Int16, "slen", "Sweep length in milliseconds."},
    {48, 132, 2, Int16, "styp", "Sweep type code:"},
    {49, 134, 2, Int16, "stas", "Sweep taper trace length at start in milliseconds."},
    {50, 136, 2, Int16, "stae", "Sweep taper trace length at end in milliseconds."},
    {51, 138, 2, Int16, "tatyp", "Taper type code:"},
    {52, 140, 2, Int16, "afilf", "Alias filter frequency."},
    {53, 142, 2, Int16, "afils", "Alias filter slope."},
    {54, 144, 2, Int16, "nofilf", "Notch filter frequency."},
    {55, 146, 2, Int16, "nofils", "Notch filter slope."},
    {56, 148, 2, Int16, "lcf", "Low cut frequency."},
    {57, 150, 2, Int16, "hcf", "High cut frequency."},
    {58, 152, 2, Int16, "lcs", "Low cut slope."},
    {59, 154, 2, Int16, "hcs", "High cut slope."},
    {60, 156, 2, Int16, "year", "Year data recorded."},
    {61, 158, 2, Int16, "day", "Day of year."},
    {62, 160, 2, Int16, "hour", "Hour of day (24-h clock)"},
    {63, 162, 2, Int16, "minute", "Minute of hour."},
    {64, 164, 2, Int16, "sec", "Second of minute."},
    {65, 166, 2, Int16, "timbas", "Time basis (1 = local, 2 = GMT, 3 = other)."},
    {66, 168, 2, Int16, "trwf", "Trace weighting factor for fixed"},
    {67, 170, 2, Int16, "grnors", "Geophone group number of roll switch position one."},
    {68, 172, 2, Int16, "grnofr", "Geophone group number of first trace of original field record."},
    {69, 174, 2, Int16, "grnlof", "Geophone group number of last trace of original field record."},
    {70, 176, 2, Int16, "gaps", "Gap size (total number of groups dropped)."},
    {71, 178, 2, Int16, "otrav", "Overtravel associated with taper (1 = down/behind, 2 = up/ahead)."},
    {72, 180, 4, Float32, "d1", "sample spacing for non-seismic data"},
    {73, 184, 4, Float32, "f1", "first sample location for non-seismic data"},
    {74, 188, 4, Float32, "d2", "sample spacing between traces"},
    {75, 192, 4, Float32, "f2", "first trace location"},
    {76, 196, 4, Float32, "ungpow", "negative of power used for dynamic range compression"},
    {77, 200, 4, Float32, "unscale", "reciprocal of scaling factor to normalize range"},
    {78, 204, 4, Int32, "ntr", "number of traces"},
    {79, 208, 2, Int16, "mark", "mark selected traces"},
}};

constexpr int kNsOffset = 114;
constexpr int kDtOffset = 116;
constexpr int kNhsOffset = 32;
constexpr int kTracfOffset = 12;

}  // namespace

const std::array<SuWord, kSuWordCount>& SuWords() { return kWords; }

const SuWord* FindSuWord(std::string_view name) {
  for (const SuWord& w : kWords) {
    if (w.name == name) return &w;
  }
  return nullptr;
}

const SuWord& SuWordNamed(std::string_view name) {
  const SuWord* w = FindSuWord(name);
  if (w == nullptr) throw std::logic_error("unknown SU word " + std::string(name));
  return *w;
}

double GetWord(const uint8_t* header, const SuWord& word) {
  switch (word.type) {
    case Int16: return GetLE16(header + word.offset);
    case Int32: return GetLE32(header + word.offset);
    case Float32: return GetLEFloat(header + word.offset);
  }
  return 0;
}

void SetWord(uint8_t* header, const SuWord& word, double value) {
  switch (word.type) {
    case Int16: PutLE16(header + word.offset, ToInt16(value)); break;
    case Int32: PutLE32(header + word.offset, ToInt32(value)); break;
    case Float32: PutLEFloat(header + word.offset, static_cast<float>(value)); break;
  }
}

double SuHeader::Get(std::string_view name) const { return GetWord(bytes_.data(), SuWordNamed(name)); }
int32_t SuHeader::GetInt(std::string_view name) const { return ToInt32(Get(name)); }
void SuHeader::Set(std::string_view name, double value) { SetWord(bytes_.data(), SuWordNamed(name), value); }

int32_t TraceSize(int32_t nbSamples) {
  return ToInt32(240.0 + 4.0 * static_cast<double>(nbSamples));
}

int32_t TracePosOf(int32_t i, int32_t nbSamples) {
  return ToInt32(static_cast<double>(TraceSize(nbSamples)) * (static_cast<double>(i) - 1.0));
}

int32_t TraceCountOf(int64_t fileLength, int32_t nbSamples) {
  const double size = 240.0 + 4.0 * static_cast<double>(nbSamples);
  // A negative ns gives a negative size and so a count of 0 or less, which
  // no loop over the traces runs; only a size of 0 fails.
  if (size == 0) {
    throw RunTimeFailure(fileLength == 0 ? FailureCode::Overflow : FailureCode::DivisionByZero,
                         "trace size is 0");
  }
  return ToInt32(static_cast<double>(fileLength) / size);
}

void ReadSuSizes(const std::string& path, SharedState& state) {
  // Each step on its own: a file that cannot be read leaves ns at 0 → 1024.
  int16_t ns = 0;
  int16_t dt = state.SampleInterval;
  try {
    BinaryFile file(path, BinaryFile::Mode::Read);
    ns = file.ReadI16(kNsOffset);
    dt = file.ReadI16(kDtOffset);
  } catch (const std::exception&) {
  }
  state.NbSamples = ns;
  state.SampleInterval = dt;
  if (state.SampleInterval == 0) state.SampleInterval = 1;
  if (state.NbSamples == 0) state.NbSamples = 1024;
}

void ScanSuGeometry(const std::string& path, SharedState& state) {
  int64_t length = 0;
  {
    BinaryFile file(path, BinaryFile::Mode::Read);
    state.NbSamples = file.ReadI16(kNsOffset);
    state.SampleInterval = file.ReadI16(kDtOffset);
    length = file.Size();
  }
  state.NbTraces = TraceCountOf(length, state.NbSamples);
  CountChannels(path, state.NbTraces, state.NbChannels, state);
  if (state.SampleInterval == 0) state.SampleInterval = 1000;
}

void CountChannels(const std::string& path, int32_t traceCount, int16_t& channels,
                   SharedState& state) {
  int32_t result = 0;
  channels = 0;
  try {
    BinaryFile file(path, BinaryFile::Mode::Read);
    const int32_t size = TraceSize(state.NbSamples);
    const auto position = [&](int32_t i) { return static_cast<int64_t>(size) * (i - 1); };

    const int64_t quarter = static_cast<int64_t>(RoundHalfEven(traceCount / 4.0));
    int16_t largestNhs = 0;
    for (int64_t i = 1; i <= quarter; ++i) {
      largestNhs = std::max(largestNhs, file.ReadI16(position(static_cast<int32_t>(i)) + kNhsOffset));
    }
    if (largestNhs > 1) return;

    const int32_t scan = std::min<int32_t>(traceCount, 150);
    int32_t first = 0;
    int32_t t = 0;
    for (int32_t i = 1; i <= scan; ++i) {
      state.TracePos = ToInt32(static_cast<double>(position(i)));
      const int32_t tracf = file.ReadI32(state.TracePos + kTracfOffset);
      if (tracf >= std::numeric_limits<int16_t>::min() && tracf <= std::numeric_limits<int16_t>::max()) {
        t = tracf;
      }
      if (i == 1) first = t;
      if (t > result) result = t;
      if (i == 5 && t == first) {
        result = 0;
        break;
      }
      if (t < result) break;
    }
  } catch (const std::exception&) {
    // Never stops a conversion: what was found so far stands.
  }
  channels = static_cast<int16_t>(result < 6 ? 0 : std::min<int32_t>(result, INT16_MAX));
}

int16_t SwapBytes16(int16_t value) {
  const int32_t v = value;
  const int32_t high = v >= 0 ? v / 256 : (v + 65536) / 256;
  int32_t low = (v & 0xFF) * 256;
  if (low > 32767) low -= 65536;
  return static_cast<int16_t>(low | high);
}

}  // namespace vexmor
