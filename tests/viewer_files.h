#pragma once
// Small field files of each format the viewer reads, written byte by byte
// at the offsets of their layouts, for the viewer's tests.
#include <cstdint>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "formats/dzt.h"
#include "formats/seg2.h"
#include "test_util.h"

namespace vexmor::test {

inline void PutBE(std::vector<uint8_t>& b, size_t at, uint64_t v, int width) {
  for (int k = 0; k < width; ++k) b[at + size_t(k)] = uint8_t(v >> (8 * (width - 1 - k)));
}
inline void PutLE(std::vector<uint8_t>& b, size_t at, uint64_t v, int width) {
  for (int k = 0; k < width; ++k) b[at + size_t(k)] = uint8_t(v >> (8 * k));
}

inline uint32_t FloatWord(float f) {
  uint32_t u;
  std::memcpy(&u, &f, 4);
  return u;
}

// SEG-Y rev 1 with `traces` traces of the values given (one vector a
// trace), dt 500 us, sample format 5 (IEEE), 3 (int16) or 1 (IBM; values
// then given as IBM words). tracl counts from 1.
inline std::vector<uint8_t> MakeSegy(const std::vector<std::vector<double>>& traces, int format, bool big,
                                     bool ibmWords = false) {
  const size_t ns = traces.empty() ? 0 : traces[0].size();
  const int width = format == 3 ? 2 : 4;
  std::vector<uint8_t> f(3600, 0);
  std::memset(f.data(), 0x40, 3200);  // EBCDIC blanks
  const auto put = [&](size_t at, uint64_t v, int w) { big ? PutBE(f, at, v, w) : PutLE(f, at, v, w); };
  put(3200 + 16, 500, 2);
  put(3200 + 20, ns, 2);
  put(3200 + 24, uint64_t(format), 2);
  put(3200 + 96, 0x01020304, 4);
  f[3200 + 300] = 1;
  for (size_t t = 0; t < traces.size(); ++t) {
    const size_t at = f.size();
    f.resize(at + 240 + ns * size_t(width), 0);
    put(at, t + 1, 4);
    put(at + 114, ns, 2);
    put(at + 116, 500, 2);
    put(at + 36, 10 * (t + 1), 4);  // offset
    for (size_t k = 0; k < ns; ++k) {
      const double v = traces[t][k];
      const uint64_t word = format == 3 ? uint64_t(uint16_t(int16_t(v)))
                            : ibmWords ? uint64_t(uint32_t(v))
                                       : FloatWord(static_cast<float>(v));
      put(at + 240 + k * size_t(width), word, width);
    }
  }
  return f;
}

// SU traces: tracl from 1, ns, dt as given.
inline std::vector<uint8_t> MakeSu(const std::vector<std::vector<float>>& traces, int dt) {
  std::vector<uint8_t> f;
  for (size_t t = 0; t < traces.size(); ++t) {
    const size_t at = f.size();
    f.resize(at + 240 + 4 * traces[t].size(), 0);
    PutLE(f, at, t + 1, 4);
    PutLE(f, at + 114, traces[t].size(), 2);
    PutLE(f, at + 116, uint64_t(dt), 2);
    for (size_t k = 0; k < traces[t].size(); ++k) PutLE(f, at + 240 + 4 * k, FloatWord(traces[t][k]), 4);
  }
  return f;
}

// A RAMAC profile: NAME.rd3 (int16 traces) and NAME.rad beside it.
inline void WriteRamac(const std::string& base, const std::vector<std::vector<int16_t>>& traces, double windowNs) {
  std::vector<uint8_t> f;
  for (const auto& t : traces) {
    for (int16_t v : t) {
      f.push_back(uint8_t(uint16_t(v)));
      f.push_back(uint8_t(uint16_t(v) >> 8));
    }
  }
  WriteBytes(base + ".rd3", f);
  WriteText(base + ".rad", "SAMPLES:" + std::to_string(traces.empty() ? 0 : traces[0].size()) +
                               "\r\nFREQUENCY:1000.0\r\nTIMEWINDOW:" + std::to_string(windowNs) +
                               "\r\nLAST TRACE:" + std::to_string(traces.size()) + "\r\n");
}

// An EKKO line: NAME.DT1 (per trace a 128-byte header of floats: trace
// number, position, points, bytes per point 2, time window; then int16
// samples) and, if windowNs is above 0, NAME.HD beside it.
inline void WriteDt1(const std::string& base, const std::vector<std::vector<int16_t>>& traces, double windowNs,
                     float headerWindowNs = 0) {
  std::vector<uint8_t> f;
  for (size_t t = 0; t < traces.size(); ++t) {
    const size_t at = f.size();
    f.resize(at + 128 + 2 * traces[t].size(), 0);
    PutLE(f, at, FloatWord(float(t + 1)), 4);
    PutLE(f, at + 4, FloatWord(0.25f * float(t)), 4);
    PutLE(f, at + 8, FloatWord(float(traces[t].size())), 4);
    PutLE(f, at + 20, FloatWord(2), 4);
    PutLE(f, at + 24, FloatWord(headerWindowNs), 4);
    for (size_t k = 0; k < traces[t].size(); ++k) PutLE(f, at + 128 + 2 * k, uint16_t(traces[t][k]), 2);
  }
  WriteBytes(base + ".DT1", f);
  if (windowNs > 0) {
    WriteText(base + ".HD", "1234\r\r\nNUMBER OF TRACES   = " + std::to_string(traces.size()) +
                                " \r\r\nNUMBER OF PTS/TRC  = " + std::to_string(traces.empty() ? 0 : traces[0].size()) +
                                " \r\r\nTOTAL TIME WINDOW  = " + std::to_string(windowNs) + " \r\r\n");
  }
}

// KGS records (integer: int16 samples, floating: float32), no file header:
// 16-bit words, offset at 36, ns at 114, dt at 116, our mark 55AA at 118 if
// asked, tracl at 170 (integer) or 172 (floating).
inline std::vector<uint8_t> MakeKgs(const std::vector<std::vector<int16_t>>& traces, int dt, bool floating, bool mark) {
  std::vector<uint8_t> f;
  const size_t width = floating ? 4 : 2;
  for (size_t t = 0; t < traces.size(); ++t) {
    const size_t at = f.size();
    f.resize(at + 240 + width * traces[t].size(), 0);
    PutLE(f, at + 2, 1, 2);  // channel
    PutLE(f, at + 36, 10 * (t + 1), 2);
    PutLE(f, at + 114, traces[t].size(), 2);
    PutLE(f, at + 116, uint64_t(dt), 2);
    if (mark) PutLE(f, at + 118, 0x55AA, 2);
    PutLE(f, at + (floating ? 172 : 170), t + 1, 2);
    for (size_t k = 0; k < traces[t].size(); ++k) {
      const int16_t v = traces[t][k];
      PutLE(f, at + 240 + width * k, floating ? FloatWord(float(v)) : uint16_t(v), int(width));
    }
  }
  return f;
}

// A trace of `ns` samples: a positive pulse around a third of the way down,
// a negative one around two thirds.
inline std::vector<double> Pulses(size_t ns, double amplitude = 1000) {
  std::vector<double> v(ns, 0.0);
  for (size_t k = 0; k < ns; ++k) {
    const double a = double(k) - double(ns) / 3, b = double(k) - 2.0 * double(ns) / 3;
    const double w = double(ns) / 20;
    v[k] = amplitude * (std::exp(-a * a / (w * w)) - std::exp(-b * b / (w * w)));
  }
  return v;
}

}  // namespace vexmor::test
