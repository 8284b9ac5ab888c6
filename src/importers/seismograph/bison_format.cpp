#include "importers/seismograph/bison_format.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <cmath>
#include <limits>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/su_trace.h"

namespace vexmor {

namespace {

constexpr uint8_t kCr = 13, kLf = 10, kEtx = 3;
constexpr size_t kBlock = 1 << 16;  // even, so units never straddle blocks
constexpr int64_t kProgressStep = 256;

// Calls unit(offset, first, second) for each 2-byte unit from the start of
// the file until it returns false or the file (or `limit` bytes) ends. A
// last odd byte is a unit whose second byte is 0.
template <typename Unit>
void ForEachUnit(BinaryFile& file, int64_t limit, Unit&& unit) {
  std::vector<uint8_t> block(kBlock);
  const int64_t end = std::min(file.Size(), limit);
  for (int64_t at = 0; at < end; at += static_cast<int64_t>(kBlock)) {
    const size_t n = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(kBlock), end - at));
    file.Read(at, block.data(), n + (n % 2));
    for (size_t i = 0; i < n; i += 2) {
      if (!unit(at + static_cast<int64_t>(i), block[i], block[i + 1])) return;
    }
  }
}

}  // namespace

BisonHeader ParseBisonHeader(BinaryFile& file, const std::function<void(int64_t)>& progress) {
  BisonHeader header;
  // First pass: the byte behind each CR LF. Its 1-based position must fit
  // 16 bits, so nothing past byte 32767 is looked at.
  std::vector<int64_t> behind;
  ForEachUnit(file, kBisonPositionReach - 2, [&](int64_t at, uint8_t a, uint8_t b) {
    if (a == kCr && b == kLf) behind.push_back(at + 2);
    return static_cast<int>(behind.size()) < kBisonMaxLineEnds;
  });
  header.lineEnds = static_cast<int>(behind.size());
  // Second pass: field j lies between the j-th and the (j + 1)-th CR LF.
  for (size_t k = 1; k < behind.size() && static_cast<int>(k) <= kBisonMaxFields; ++k) {
    const int64_t from = behind[k - 1];
    std::string& field = header.fields[k];
    field.resize(static_cast<size_t>(behind[k] - 2 - from));
    file.Read(from, field.data(), field.size());
  }
  // Third pass: the marker that ends the header.
  ForEachUnit(file, std::numeric_limits<int64_t>::max(), [&](int64_t, uint8_t a, uint8_t b) {
    ++header.units;
    if (progress && header.units % kProgressStep == 0) progress(header.units);
    header.marker = a == kEtx && b == kEtx;
    return !header.marker;
  });
  if (progress) progress(header.units);
  header.headerSize = header.marker ? 2 * header.units : file.Size();
  return header;
}

int16_t BisonTraceWords(int32_t nbSamples) { return ToInt16(nbSamples * 1.25); }

int32_t BisonTraceOffset(double headerSize, int t, int16_t words) {
  return ToInt32(headerSize + (t - 1.0) * 2.0 * words);
}

void DecodeBisonTrace(const uint8_t* raw, int16_t words, std::span<float> out) {
  const size_t total = words > 0 ? static_cast<size_t>(words) : 0;
  const size_t samples = total - total / 5;
  const size_t room = std::min(samples, out.size());
  // Whole groups of four samples and their gain word, then the rest one by
  // one; the gain applies to the group behind its word.
  float gain = 1.0f;
  size_t index = 0, j = 0;
  for (; index + 4 <= room && j + 5 <= total; index += 4, j += 5) {
    int16_t w[5];
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(w, raw + 2 * j, sizeof w);
    } else {
      for (size_t k = 0; k < 5; ++k) w[k] = GetLE16(raw + 2 * (j + k));
    }
#pragma GCC unroll 4
    for (size_t k = 0; k < 4; ++k) out[index + k] = static_cast<float>(w[k]) * gain;
    gain = w[4] < -1 ? 2.0f : 1.0f;
  }
  for (; j < total; ++j) {
    const int16_t word = GetLE16(raw + 2 * j);
    if ((j + 1) % 5 == 0) {
      gain = word < -1 ? 2.0f : 1.0f;
      continue;
    }
    if (index >= out.size()) {
      throw RunTimeFailure(FailureCode::OutOfRange,
                           "a trace of " + std::to_string(words) + " words holds more than " +
                               std::to_string(out.size()) + " samples");
    }
    out[index++] = static_cast<float>(word) * gain;
  }
}

std::vector<uint8_t> BuildBisonRecord(const BisonRecordContent& record) {
  std::vector<uint8_t> out;
  auto text = [&](const std::string& s) {
    out.insert(out.end(), s.begin(), s.end());
    if (out.size() % 2 != 0) out.push_back(' ');
  };
  text(record.preamble);
  for (const std::string& field : record.fields) {
    out.push_back(kCr);
    out.push_back(kLf);
    text(field);
  }
  out.push_back(kCr);
  out.push_back(kLf);
  out.push_back(kEtx);
  out.push_back(kEtx);
  for (const auto& trace : record.traces) {
    for (int16_t word : trace) {
      uint8_t le[2];
      PutLE16(le, word);
      out.insert(out.end(), le, le + 2);
    }
  }
  return out;
}

std::vector<int16_t> EncodeBisonTrace(std::span<const int32_t> samples) {
  std::vector<int16_t> words;
  for (size_t g = 0; g * 4 < samples.size(); ++g) {
    const auto group = samples.subspan(g * 4, std::min<size_t>(4, samples.size() - g * 4));
    const bool wide = std::any_of(group.begin(), group.end(), [](int32_t v) { return v < -32768 || v > 32767; });
    const bool halve = g > 0 && wide;
    if (g > 0) words.push_back(halve ? int16_t{-2} : int16_t{0});
    for (int32_t v : group) words.push_back(static_cast<int16_t>(std::clamp(halve ? v / 2 : v, -32768, 32767)));
  }
  const int16_t total = BisonTraceWords(static_cast<int32_t>(samples.size()));
  while (static_cast<int>(words.size()) < total) words.push_back(0);
  return words;
}

}  // namespace vexmor
