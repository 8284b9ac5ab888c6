#include "formats/dzt.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/binary_file.h"
#include "core/su_trace.h"

namespace vexmor {

namespace {

constexpr int64_t kBlock = 1024;
constexpr size_t kHeadNeeded = 64;

[[noreturn]] void Fail(const std::string& name, const std::string& what) { throw DztError(name + ": " + what); }

uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

}  // namespace

DztHeader ParseDztHeader(const uint8_t* head, size_t headBytes, int64_t fileSize, const std::string& name) {
  if (fileSize < kBlock || headBytes < kHeadNeeded) {
    Fail(name, "only " + std::to_string(fileSize) + " bytes, too short for a DZT file (its header alone is 1024)");
  }
  DztHeader h;
  h.tag = U16(head);
  const int dataField = U16(head + 2);
  h.samplesPerScan = GetLE16(head + 4);
  h.bits = GetLE16(head + 6);
  h.scansPerSecond = GetLEFloat(head + 10);
  h.scansPerMeter = GetLEFloat(head + 14);
  h.rangeNs = GetLEFloat(head + 26);
  h.channels = GetLE16(head + 52);
  if (h.bits != 8 && h.bits != 16 && h.bits != 32) {
    Fail(name, "not a DZT file: it gives " + std::to_string(h.bits) + " data bits, a DZT file 8, 16 or 32");
  }
  if (h.samplesPerScan <= 0) {
    Fail(name, "not a DZT file: it gives " + std::to_string(h.samplesPerScan) + " samples per scan");
  }
  if (h.channels < 0 || h.channels > 16) {
    Fail(name, "not a DZT file: it gives " + std::to_string(h.channels) + " channels");
  }
  if (h.channels == 0) h.channels = 1;  // old files leave it unsaid
  h.headerBytes = dataField > 0 && dataField < kBlock ? kBlock * dataField : kBlock * h.channels;
  if (h.headerBytes > fileSize) {
    Fail(name, "its header of " + std::to_string(h.headerBytes) + " bytes is longer than the file (" +
                   std::to_string(fileSize) + " bytes): file cut short");
  }
  const int64_t data = fileSize - h.headerBytes;
  h.scans = data / h.ScanBytes();
  h.leftoverBytes = data % h.ScanBytes();
  if (h.scans == 0) Fail(name, "holds no whole scan of " + std::to_string(h.ScanBytes()) + " bytes");
  return h;
}

DztHeader ReadDztHeader(BinaryFile& f) {
  uint8_t head[kHeadNeeded];
  f.Read(0, head, sizeof head);
  return ParseDztHeader(head, sizeof head, f.Size(), f.Path());
}

DztHeader ReadDztHeader(const std::string& path) {
  BinaryFile f(path, BinaryFile::Mode::Read);
  return ReadDztHeader(f);
}

bool LooksLikeDzt(std::span<const uint8_t> head, int64_t fileSize) {
  if (head.size() < kHeadNeeded || fileSize < kBlock) return false;
  // No magic number (the tag differs from maker to maker): the fields must agree.
  const int dataField = U16(head.data() + 2);
  const int samples = GetLE16(head.data() + 4);
  const int bits = GetLE16(head.data() + 6);
  const int channels = GetLE16(head.data() + 52);
  const float range = GetLEFloat(head.data() + 26);
  const bool offsetAgrees = (dataField > 0 && dataField < kBlock) || dataField == kBlock * std::max(1, channels);
  return (bits == 8 || bits == 16 || bits == 32) && samples > 0 && channels >= 0 && channels <= 16 &&
         offsetAgrees && std::isfinite(range) && range >= 0 && range < 1e6f;
}

void ReadDztScans(BinaryFile& f, const DztHeader& h, int channel, int64_t first, int64_t count, bool centre,
                  int32_t* out) {
  const auto ns = static_cast<size_t>(h.samplesPerScan);
  const auto width = static_cast<size_t>(h.BytesPerSample());
  const int32_t zero = !centre ? 0 : h.bits == 8 ? 128 : h.bits == 16 ? 32768 : 0;
  // A few megabytes at a time: a long profile is never held whole.
  const int64_t perBlock = std::max<int64_t>(1, (int64_t(4) << 20) / h.ScanBytes());
  std::vector<uint8_t> data;
  for (int64_t done = 0; done < count; done += perBlock) {
    const int64_t scans = std::min(perBlock, count - done);
    data.resize(static_cast<size_t>(scans * h.ScanBytes()));
    f.ReadDirect(h.headerBytes + (first + done) * h.ScanBytes(), data.data(), data.size());
    for (size_t s = 0; s < static_cast<size_t>(scans); ++s) {
      const uint8_t* scan = data.data() + s * static_cast<size_t>(h.ScanBytes()) + size_t(channel) * ns * width;
      int32_t* row = out + (static_cast<size_t>(done) + s) * ns;
      for (size_t k = 0; k < ns; ++k) {
        const uint8_t* p = scan + k * width;
        const int32_t v = width == 1 ? int32_t(p[0]) : width == 2 ? int32_t(U16(p)) : GetLE32(p);
        row[k] = v - zero;
      }
    }
  }
}

std::vector<int32_t> ReadDztChannel(const std::string& path, const DztHeader& h, int channel, bool centre) {
  BinaryFile f(path, BinaryFile::Mode::Read);
  const int64_t dataBytes = h.scans * h.ScanBytes();
  if (h.headerBytes + dataBytes > f.Size()) throw DztError(path + ": shorter than its header says (changed?)");
  std::vector<int32_t> values(static_cast<size_t>(h.scans) * static_cast<size_t>(h.samplesPerScan));
  ReadDztScans(f, h, channel, 0, h.scans, centre, values.data());
  return values;
}

std::vector<uint8_t> MakeDzt(int samplesPerScan, int bits, int channels, const std::vector<uint32_t>& stored,
                             int dataField, float rangeNs) {
  std::vector<uint8_t> out(static_cast<size_t>(kBlock * channels), 0);
  for (int c = 0; c < channels; ++c) {
    uint8_t* h = out.data() + c * kBlock;
    PutLE16(h, 0x00FF);
    PutLE16(h + 2, static_cast<int16_t>(dataField));
    PutLE16(h + 4, static_cast<int16_t>(samplesPerScan));
    PutLE16(h + 6, static_cast<int16_t>(bits));
    PutLEFloat(h + 26, rangeNs);
    PutLE16(h + 52, static_cast<int16_t>(channels));
  }
  const size_t width = static_cast<size_t>(bits / 8);
  for (uint32_t v : stored) {
    for (size_t b = 0; b < width; ++b) out.push_back(static_cast<uint8_t>(v >> (8 * b)));
  }
  return out;
}

}  // namespace vexmor
