#include "field_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "core/binary_file.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "core/text_reader.h"
#include "formats/dt1.h"
#include "formats/dzt.h"
#include "formats/kgs.h"
#include "formats/seg2.h"
#include "formats/segd.h"
#include "formats/segy.h"
#include "formats/su.h"
#include "importers/radar/ramac_format.h"
#include "seg2_to_su.h"

namespace vexmor::view {

namespace {

constexpr size_t kHeadBytes = 1 << 16;
constexpr int kRadarMark = 95;  // nhs of a radar trace

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool EndsWith(const std::string& s, const std::string& end) {
  return s.size() >= end.size() && Lower(s.substr(s.size() - end.size())) == end;
}

void SetWordNamed(uint8_t* header, const char* name, double value) {
  const SuWord& word = SuWordNamed(name);
  // A value that does not fit its word is left out rather than wrapped.
  try {
    SetWord(header, word, value);
  } catch (const std::exception&) {
  }
}

}  // namespace

struct FieldFile::State {
  std::string path;
  BinaryFile file;
  FieldInfo info;
  std::vector<std::string> notes;
  std::vector<uint8_t> buffer;
  // Per format.
  segy::SegyLayout segy;
  SuLayout su;
  Seg2File seg2;
  std::vector<SegdTrace> segd;
  std::unique_ptr<SegdReader> segdReader;
  DztHeader dzt;
  std::vector<int32_t> scan;
  int64_t ramacSamples = 0;
  double ramacDt = 0;
  std::vector<int16_t> dt1Samples;
  KgsLayout kgs;

  void Note(const std::string& text) {
    if (notes.size() < 50 && std::find(notes.begin(), notes.end(), text) == notes.end()) notes.push_back(text);
  }
};

namespace {

void OpenSegy(FieldFile::State& s) {
  s.segy = segy::ReadSegyLayout(s.file, {}, [&s](const std::string& note) { s.Note(note); });
  s.info.format = Format::Segy;
  s.info.name = "SEG-Y";
  s.info.traces = s.segy.WholeTraces() + (s.segy.LastCutShort() ? 1 : 0);
  s.info.samples = s.segy.ns;
  s.info.interval = s.segy.dt;
  s.info.bigEndian = s.segy.bigEndian;
  if (s.segy.LastCutShort()) s.Note("the last trace is cut short: shown padded with zeros");
  if (s.info.traces == 0) s.Note("the file holds its headers but no trace");
}

void OpenSu(FieldFile::State& s) {
  s.su = ReadSuLayout(s.file);
  s.info.format = Format::Su;
  s.info.name = "SU";
  s.info.traces = s.su.wholeTraces + (s.su.lastCutShort ? 1 : 0);
  s.info.samples = s.su.ns;
  s.info.interval = s.su.dt;
  // An SU file made from a radar profile marks its traces with nhs 95 and
  // holds nanoseconds x 1000 in dt: show it as radar, in ns.
  uint8_t nhs[2] = {0, 0};
  if (s.file.Read(32, nhs, 2) == 2 && GetLE16(nhs) == kRadarMark) {
    s.info.radar = true;
    s.info.interval = s.su.dt / 1000.0;
  }
  if (s.su.lastCutShort) s.Note("the last trace is cut short: shown padded with zeros");
}

void OpenSeg2(FieldFile::State& s) {
  s.seg2 = ReadSeg2(s.file);
  s.info.format = Format::Seg2;
  s.info.name = "SEG-2";
  s.info.traces = static_cast<int64_t>(s.seg2.traces.size());
  s.info.bigEndian = s.seg2.bigEndian;
  if (s.seg2.traces.empty()) throw std::runtime_error(s.path + ": the SEG-2 file holds no trace");
  for (const Seg2Trace& t : s.seg2.traces) s.info.samples = std::max<int64_t>(s.info.samples, t.samples);
  if (const std::string* interval = s.seg2.traces.front().Find("SAMPLE_INTERVAL")) {
    s.info.interval = std::atof(interval->c_str()) * 1e6;
  }
  for (const std::string& n : s.seg2.notes) s.Note(n);
}

void OpenSegd(FieldFile::State& s) {
  s.segdReader = std::make_unique<SegdReader>(s.file);
  std::vector<SegdTrace> aux;
  SegdTrace t;
  try {
    while (s.segdReader->Next(t)) (t.channelType == 1 ? s.segd : aux).push_back(t);
  } catch (const SegdError& e) {
    // The traces before the fault are shown.
    if (s.segd.empty() && aux.empty()) throw;
    s.Note(e.what());
  }
  if (s.segd.empty()) s.segd = std::move(aux);
  s.info.format = Format::Segd;
  s.info.name = "SEG-D";
  s.info.traces = static_cast<int64_t>(s.segd.size());
  s.info.bigEndian = true;
  if (s.segd.empty()) throw std::runtime_error(s.path + ": the SEG-D record holds no trace");
  for (const SegdTrace& x : s.segd) s.info.samples = std::max(s.info.samples, x.ns);
  s.info.interval = s.segd.front().dtUs;
}

void OpenDzt(FieldFile::State& s) {
  s.dzt = ReadDztHeader(s.file);
  s.info.format = Format::Dzt;
  s.info.name = "DZT";
  s.info.traces = s.dzt.scans + (s.dzt.leftoverBytes > 0 ? 1 : 0);
  s.info.samples = s.dzt.samplesPerScan;
  s.info.interval = s.dzt.rangeNs > 0 ? s.dzt.rangeNs / s.dzt.samplesPerScan : 0;
  s.info.radar = true;
  if (s.dzt.channels > 1) s.Note("channel 1 of " + std::to_string(s.dzt.channels) + " is shown");
  if (s.dzt.leftoverBytes > 0) s.Note("the last scan is cut short: shown padded with zeros");
}

void OpenRamac(FieldFile::State& s, const std::string& radPath) {
  const RamacRad rad = ParseRamacRad(ReadWholeFile(radPath));
  s.info.format = Format::Ramac;
  s.info.name = "RAMAC";
  s.info.radar = true;
  s.ramacSamples = rad.samples;
  if (s.ramacSamples <= 0) {
    throw std::runtime_error(radPath + ": no SAMPLES: line, so the traces of the .rd3 file can't be told apart");
  }
  const int64_t traceBytes = 2 * s.ramacSamples;
  s.info.samples = s.ramacSamples;
  s.info.traces = (s.file.Size() + traceBytes - 1) / traceBytes;
  if (s.file.Size() % traceBytes != 0) s.Note("the last trace is cut short: shown padded with zeros");
  if (rad.timeWindowNs > 0) {
    s.info.interval = rad.timeWindowNs / double(s.ramacSamples);
  } else if (rad.frequencyMhz > 0) {
    s.info.interval = 1000.0 / rad.frequencyMhz;
  }
  if (rad.lastTrace > 0 && rad.lastTrace != s.info.traces) {
    s.Note("the .rad file says " + std::to_string(rad.lastTrace) + " traces, the .rd3 file holds " +
           std::to_string(s.info.traces));
  }
}

void OpenDt1(FieldFile::State& s, const std::string& dt1Path) {
  s.info.format = Format::Dt1;
  s.info.name = "DT1";
  s.info.radar = true;
  // The trace header's own count and window stand in for a missing .HD.
  uint8_t first[kDt1TraceHeaderBytes] = {};
  s.file.Read(0, first, sizeof first);
  double points = GetLEFloat(first + 8);
  double window = GetLEFloat(first + 24);
  const std::string hdPath = ResolveExisting(Dt1HeaderPath(dt1Path));
  if (FileExists(hdPath) == 1) {
    const Dt1HeaderText hd = ParseDt1HeaderText(ReadWholeFile(hdPath));
    if (hd.pointsPerTrace && *hd.pointsPerTrace >= 1 && *hd.pointsPerTrace != points) {
      if (points >= 1) s.Note("the .HD file's points per trace differ from the trace header's: the .HD file's are used");
      points = *hd.pointsPerTrace;
    }
    if (hd.timeWindow && *hd.timeWindow > 0) window = *hd.timeWindow;
    if (hd.traces && *hd.traces >= 0 && points >= 1 && *hd.traces != double(Dt1TraceCount(s.file.Size(), int64_t(points)))) {
      s.Note("the .HD file says " + std::to_string(int64_t(*hd.traces)) + " traces, the .DT1 file holds " +
             std::to_string(Dt1TraceCount(s.file.Size(), int64_t(points))));
    }
  } else {
    s.Note("no .HD header beside the file: points and time window taken from the first trace header");
  }
  if (!(points >= 1 && points <= double(1 << 20)) || points != std::floor(points)) {
    throw std::runtime_error(dt1Path + ": no usable points per trace in its .HD header or its first trace header");
  }
  const auto p = static_cast<int64_t>(points);
  s.info.samples = p;
  const int64_t traceBytes = kDt1TraceHeaderBytes + 2 * p;
  s.info.traces = (s.file.Size() + traceBytes - 1) / traceBytes;
  if (s.file.Size() % traceBytes != 0) s.Note("the last trace is cut short: shown padded with zeros");
  if (window > 0 && std::isfinite(window)) s.info.interval = window / double(p);
}

// KGS floating has the size of an SU record, and neither has a file
// header: our own mark at 118 tells them apart, else the name (.EVD for
// integer, .DAT for floating with a channel word SU would not hold).
std::optional<KgsKind> KgsKindOf(const std::vector<uint8_t>& head, int64_t size, const std::string& path) {
  if (head.size() < kKgsHeaderBytes) return std::nullopt;
  const auto word = [&](int at) { return static_cast<int16_t>(GetLE16(head.data() + at)); };
  const int16_t ns = word(kKgsNsOffset);
  if (ns <= 0) return std::nullopt;
  const auto fits = [&](KgsKind kind) { return size % KgsRecordSize(kind, ns) == 0; };
  if (word(kKgsMarkOffset) == kKgsMark) {
    if (fits(KgsKind::Integer) && !fits(KgsKind::Floating)) return KgsKind::Integer;
    if (fits(KgsKind::Floating)) return KgsKind::Floating;
    return size >= KgsRecordSize(KgsKind::Floating, ns) ? KgsKind::Floating : KgsKind::Integer;
  }
  if (EndsWith(path, ".evd")) return KgsKind::Integer;
  if (EndsWith(path, ".dat") && word(2) != 0 && fits(KgsKind::Floating)) return KgsKind::Floating;
  return std::nullopt;
}

void OpenKgs(FieldFile::State& s, KgsKind kind) {
  s.kgs = ReadKgsLayout(s.file, kind);
  s.info.format = Format::Kgs;
  s.info.name = kind == KgsKind::Integer ? "KGS-integer" : "KGS-floating";
  s.info.samples = s.kgs.ns;
  s.info.interval = s.kgs.dt;
  // A last record cut short is shown padded, however little of it is there.
  s.info.traces = (s.file.Size() + s.kgs.recordSize - 1) / s.kgs.recordSize;
  if (s.file.Size() % s.kgs.recordSize != 0) s.Note("the last trace is cut short: shown padded with zeros");
}

}  // namespace

std::unique_ptr<FieldFile> FieldFile::Open(const std::string& path) {
  std::string dataPath = path;
  // A RAMAC profile is two files, and its data file has no header to know it by.
  if (EndsWith(path, ".rad")) dataPath = ResolveExisting(ReplaceLastThree(path, "rd3"));
  if (EndsWith(path, ".hd")) dataPath = ResolveExisting(path.substr(0, path.size() - 2) + "DT1");
  return Open(path, dataPath, BinaryFile(dataPath, BinaryFile::Mode::Read));
}

std::unique_ptr<FieldFile> FieldFile::Open(const std::string& path, const std::string& dataPath, BinaryFile data) {
  auto s = std::make_unique<State>();
  s->path = path;
  s->file = std::move(data);
  const int64_t size = s->file.Size();
  if (size == 0) throw std::runtime_error(path + ": the file is empty");
  std::vector<uint8_t> head(static_cast<size_t>(std::min<int64_t>(size, kHeadBytes)));
  s->file.Read(0, head.data(), head.size());

  if (EndsWith(dataPath, ".rd3")) {
    const std::string rad = ResolveExisting(ReplaceLastThree(dataPath, "rad"));
    if (FileExists(rad) != 1) throw std::runtime_error(path + ": a RAMAC .rd3 file needs its .rad header beside it");
    OpenRamac(*s, rad);
  } else if (LooksLikeSeg2(head)) {
    OpenSeg2(*s);
  } else if (LooksLikeDt1(s->file)) {
    OpenDt1(*s, dataPath);
  } else if (const auto kgs = KgsKindOf(head, size, dataPath)) {
    OpenKgs(*s, *kgs);
  } else if (LooksLikeDzt(head, size)) {
    OpenDzt(*s);
  } else if (LooksLikeSu(head, size, true)) {
    OpenSu(*s);
  } else if (segy::LooksLikeSegy(head)) {
    OpenSegy(*s);
  } else if (LooksLikeSegd(head)) {
    OpenSegd(*s);
  } else if (LooksLikeSu(head, size, false)) {
    OpenSu(*s);
  } else {
    throw std::runtime_error(path +
                             ": not a file the viewer reads (SEG-Y, SU, SEG-2, SEG-D, GSSI DZT, RAMAC rd3, EKKO DT1, "
                             "KGS integer or floating)");
  }
  if (s->info.samples <= 0) throw std::runtime_error(path + ": the traces hold no sample");
  if (s->info.samples > (int64_t(1) << 20)) {
    throw std::runtime_error(path + ": " + std::to_string(s->info.samples) + " samples a trace is past what we show");
  }
  return std::unique_ptr<FieldFile>(new FieldFile(std::move(s)));
}

FieldFile::FieldFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
FieldFile::~FieldFile() = default;

const FieldInfo& FieldFile::Info() const { return state_->info; }
const std::string& FieldFile::Path() const { return state_->path; }
const std::vector<std::string>& FieldFile::Notes() const { return state_->notes; }

void FieldFile::ReadTrace(int64_t i, float* samples, uint8_t* header) {
  State& s = *state_;
  const auto ns = static_cast<size_t>(s.info.samples);
  std::fill(samples, samples + ns, 0.0f);
  std::memset(header, 0, kSuHeaderBytes);
  if (i < 0 || i >= s.info.traces) return;
  try {
    switch (s.info.format) {
      case Format::Su: {
        s.buffer.resize(static_cast<size_t>(s.su.traceBytes));
        s.file.ReadDirect(i * s.su.traceBytes, s.buffer.data(), s.buffer.size());
        std::memcpy(header, s.buffer.data(), kSuHeaderBytes);
        std::memcpy(samples, s.buffer.data() + kSuHeaderBytes, 4 * ns);
        break;
      }
      case Format::Segy: {
        s.buffer.resize(static_cast<size_t>(s.segy.traceBytes + kSuHeaderBytes + 4 * s.segy.ns));
        uint8_t* raw = s.buffer.data();
        uint8_t* su = raw + s.segy.traceBytes;
        s.file.ReadDirect(s.segy.firstTrace + i * s.segy.traceBytes, raw, static_cast<size_t>(s.segy.traceBytes));
        segy::SegyTraceToSu(s.segy, true, raw, su);
        std::memcpy(header, su, kSuHeaderBytes);
        std::memcpy(samples, su + kSuHeaderBytes, 4 * ns);
        break;
      }
      case Format::Seg2: {
        const Seg2Trace& t = s.seg2.traces[static_cast<size_t>(i)];
        ReadSeg2Trace(s.file, s.seg2, t, samples);
        std::vector<std::string> notes;
        const Seg2TracePlace place{static_cast<int32_t>(i + 1), 1, static_cast<int32_t>(i + 1)};
        const SuHeader h = Seg2TraceHeader(s.seg2, t, place, t.samples, notes);
        std::memcpy(header, h.Data(), kSuHeaderBytes);
        break;
      }
      case Format::Segd: {
        const SegdTrace& t = s.segd[static_cast<size_t>(i)];
        s.segdReader->ReadSamplesOf(t, samples);
        const SuHeader h = SegdSuHeader(t);
        std::memcpy(header, h.Data(), kSuHeaderBytes);
        break;
      }
      case Format::Dzt: {
        s.scan.resize(ns);
        ReadDztScans(s.file, s.dzt, 0, i, 1, true, s.scan.data());
        for (size_t k = 0; k < ns; ++k) samples[k] = static_cast<float>(s.scan[k]);
        break;
      }
      case Format::Ramac: {
        s.buffer.resize(2 * ns);
        s.file.ReadDirect(i * int64_t(2 * ns), s.buffer.data(), s.buffer.size());
        for (size_t k = 0; k < ns; ++k) samples[k] = GetLE16(s.buffer.data() + 2 * k);
        break;
      }
      case Format::Dt1: {
        s.dt1Samples.resize(ns);
        ReadDt1Samples(s.file, i + 1, s.dt1Samples);
        for (size_t k = 0; k < ns; ++k) samples[k] = s.dt1Samples[k];
        SetWordNamed(header, "trid", 1);
        break;
      }
      case Format::Kgs: {
        const KgsTrace t = ReadKgsTrace(s.file, s.kgs, static_cast<int32_t>(i + 1));
        std::memcpy(header, t.suHeader.data(), kSuHeaderBytes);
        std::copy_n(t.samples.begin(), std::min(ns, t.samples.size()), samples);
        break;
      }
    }
  } catch (const std::exception& e) {
    std::fill(samples, samples + ns, 0.0f);
    s.Note("trace " + std::to_string(i + 1) + ": " + e.what());
  }
  // Words that the format itself leaves out, so that the read-out is whole.
  if (GetLE32(header) == 0) SetWordNamed(header, "tracl", double(i + 1));
  if (GetLE16(header + 114) == 0) SetWordNamed(header, "ns", double(std::min<size_t>(ns, 65535)));
  if (s.info.radar) {
    SetWordNamed(header, "nhs", kRadarMark);
    if (GetLE16(header + 116) == 0) SetWordNamed(header, "dt", std::round(s.info.interval * 1000.0));
  }
  for (size_t k = 0; k < ns; ++k) {
    if (!std::isfinite(samples[k])) samples[k] = 0.0f;  // a NaN would blank the whole picture
  }
}

std::string InfoLine(const FieldInfo& info) {
  std::ostringstream out;
  out << "format=" << info.name << " traces=" << info.traces << " samples=" << info.samples
      << " interval=" << info.interval << " byte_order=" << (info.bigEndian ? "big" : "little");
  return out.str();
}

}  // namespace vexmor::view
