#include "importers/seismograph/su_trace_writer.h"

#include <bit>
#include <algorithm>
#include <cstring>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/shared_state.h"
#include "core/su_trace.h"

namespace vexmor {

int16_t RecordIndex(int f, int t, int nbChannels) {
  return ToInt16(static_cast<double>(f - 1) * nbChannels + (t - 1));
}

SuTraceWriter::SuTraceWriter(BinaryFile& output, SharedState& state, std::span<const HeaderStep> steps)
    : output_(output), state_(state) {
  steps_.reserve(steps.size());
  for (const HeaderStep& step : steps) {
    if (step.word.empty()) {
      steps_.push_back({step.from, step.width, step.to, HeaderValue::Zero});
    } else {
      const SuWord& word = SuWordNamed(step.word);
      steps_.push_back({word.offset, word.width, -1, step.value});
    }
  }
}

int32_t SuTraceWriter::Seek(int32_t index) {
  state_.TracePos = ToInt32(static_cast<double>(index) * TraceSize(state_.NbSamples));
  return state_.TracePos;
}

void SuTraceWriter::WriteAt(int offset, int width, int32_t value) {
  const int64_t at = static_cast<int64_t>(state_.TracePos) + offset;
  if (width == 4) {
    output_.WriteI32(at, value);
  } else {
    output_.WriteI16(at, static_cast<int16_t>(static_cast<uint16_t>(value)));
  }
}

void SuTraceWriter::WriteHeader(int32_t file, int32_t trace) {
  for (const Resolved& step : steps_) {
    if (step.to >= 0) {
      for (int at = step.offset; at + step.width - 1 <= step.to; at += step.width) WriteAt(at, step.width, 0);
      continue;
    }
    int32_t value = 0;
    switch (step.value) {
      case HeaderValue::Zero: value = 0; break;
      case HeaderValue::One: value = 1; break;
      case HeaderValue::FileNumber: value = file; break;
      case HeaderValue::TraceNumber: value = trace; break;
      case HeaderValue::NbSamplesLow16: value = state_.NbSamples; break;
      case HeaderValue::SampleInterval: value = state_.SampleInterval; break;
    }
    WriteAt(step.offset, step.width, value);
  }
}

void SuTraceWriter::WriteWord(std::string_view word, int32_t value) {
  const SuWord& w = SuWordNamed(word);
  WriteAt(w.offset, w.width, value);
}

void SuTraceWriter::WriteSamples(std::span<const float> samples) {
  const int64_t at = static_cast<int64_t>(state_.TracePos) + kSuHeaderBytes;
  if constexpr (std::endian::native == std::endian::little) {
    output_.Write(at, samples.data(), samples.size_bytes());
  } else {
    bytes_.resize(samples.size_bytes());
    for (size_t j = 0; j < samples.size(); ++j) PutLEFloat(bytes_.data() + 4 * j, samples[j]);
    output_.Write(at, bytes_.data(), bytes_.size());
  }
}

int SampleBytes(SampleType type) {
  switch (type) {
    case SampleType::Int16: return 2;
    case SampleType::Int32:
    case SampleType::Float32: return 4;
    case SampleType::None: return 0;
  }
  return 0;
}

namespace {

// Integers of `width` bytes, low byte first, to floats. Blocks of eight
// independent conversions let the compiler use vector instructions.
template <typename Int>
Int LoadLE(const uint8_t* p) {
  if constexpr (sizeof(Int) == 2) return GetLE16(p);
  return GetLE32(p);
}

// Integers low byte first to floats. On little-endian hosts a block of
// eight is loaded at once and converted apart from the input, so the
// compiler can use vector instructions.
template <typename Int>
void IntegersToFloat(const uint8_t* raw, std::span<float> out) {
  constexpr size_t kBlock = 8;
  size_t j = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (; j + kBlock <= out.size(); j += kBlock) {
      Int v[kBlock];
      std::memcpy(v, raw + sizeof(Int) * j, sizeof v);
      float f[kBlock];
#pragma GCC unroll 8
      for (size_t k = 0; k < kBlock; ++k) f[k] = static_cast<float>(v[k]);
      std::memcpy(out.data() + j, f, sizeof f);
    }
  }
  for (; j < out.size(); ++j) out[j] = static_cast<float>(LoadLE<Int>(raw + sizeof(Int) * j));
}

}  // namespace

void SamplesToFloat(const uint8_t* raw, SampleType type, std::span<float> out) {
  const size_t n = out.size();
  switch (type) {
    case SampleType::Int16: IntegersToFloat<int16_t>(raw, out); break;
    case SampleType::Int32: IntegersToFloat<int32_t>(raw, out); break;
    case SampleType::Float32:
      // Bit for bit, NaN payloads included: no arithmetic touches them.
      if constexpr (std::endian::native == std::endian::little) {
        if (n > 0) std::memcpy(out.data(), raw, 4 * n);
      } else {
        for (size_t j = 0; j < n; ++j) out[j] = GetLEFloat(raw + 4 * j);
      }
      break;
    case SampleType::None: std::fill(out.begin(), out.end(), 0.0f); break;
  }
}

}  // namespace vexmor
