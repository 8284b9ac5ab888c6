#pragma once
// SEG-Y sample formats: the code of the binary header, the bytes per
// sample, and the conversion of a run of samples to native floats.
#include <cstdint>
#include <string_view>

namespace vexmor::su {

struct SampleFormat {
  int code;
  int bytes;
  std::string_view name;
};

// The format of that code, nullptr if we don't read it.
const SampleFormat* FindSampleFormat(int code);

// Converts n samples at `in` (file byte order given by bigEndian) to
// little-endian IEEE floats at `out` (4 x n bytes).
void SamplesToFloat(const SampleFormat& format, bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out);

// Keeps the bits of 4-byte samples, only putting them in little-endian order.
void SamplesKeepBits(bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out);

}  // namespace vexmor::su
