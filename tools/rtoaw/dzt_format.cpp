#include "dzt_format.h"

#include <cctype>
#include <charconv>
#include <cstring>
#include <filesystem>

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

DztHeader ReadDztHeader(const std::string& path) {
  BinaryFile f(path, BinaryFile::Mode::Read);
  uint8_t head[kHeadNeeded];
  f.Read(0, head, sizeof head);
  return ParseDztHeader(head, sizeof head, f.Size(), path);
}

std::vector<int32_t> ReadDztChannel(const std::string& path, const DztHeader& h, int channel, bool centre) {
  BinaryFile f(path, BinaryFile::Mode::Read);
  const int64_t dataBytes = h.scans * h.ScanBytes();
  if (h.headerBytes + dataBytes > f.Size()) throw DztError(path + ": shorter than its header says (changed?)");
  std::vector<uint8_t> data(static_cast<size_t>(dataBytes));
  f.Read(h.headerBytes, data.data(), data.size());
  const auto ns = static_cast<size_t>(h.samplesPerScan);
  const auto width = static_cast<size_t>(h.BytesPerSample());
  std::vector<int32_t> values(static_cast<size_t>(h.scans) * ns);
  const int32_t zero = !centre ? 0 : h.bits == 8 ? 128 : h.bits == 16 ? 32768 : 0;
  for (size_t s = 0; s < static_cast<size_t>(h.scans); ++s) {
    const uint8_t* scan = data.data() + s * static_cast<size_t>(h.ScanBytes()) + size_t(channel) * ns * width;
    int32_t* out = values.data() + s * ns;
    for (size_t k = 0; k < ns; ++k) {
      const uint8_t* p = scan + k * width;
      const int32_t v = width == 1 ? int32_t(p[0]) : width == 2 ? int32_t(U16(p)) : GetLE32(p);
      out[k] = v - zero;
    }
  }
  return values;
}

void WriteDztColumns(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans,
                     const std::function<void(std::string_view row)>& put) {
  std::string row;
  row.reserve(static_cast<size_t>(scans) * 7 + 2);
  char number[16];
  const auto ns = static_cast<size_t>(samplesPerScan);
  for (size_t k = 0; k < ns; ++k) {
    row.clear();
    for (size_t s = 0; s < static_cast<size_t>(scans); ++s) {
      if (s > 0) row += ',';
      const auto [end, ec] = std::to_chars(number, number + sizeof number, values[s * ns + k]);
      row.append(number, end);
    }
    row += "\r\n";
    put(row);
  }
}

std::string DztColumnText(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans) {
  std::string text;
  WriteDztColumns(values, samplesPerScan, scans, [&text](std::string_view row) { text += row; });
  return text;
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

namespace vexmor {

std::vector<std::string> DztTextNames(const std::string& input, const std::string& output, int channels,
                                      int onlyChannel) {
  std::string base = output;
  if (base.empty()) {
    const size_t slash = input.find_last_of('/');
    const size_t dot = input.find_last_of('.');
    const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
    const std::string extension = hasExtension ? input.substr(dot + 1) : "";
    const bool lower = !extension.empty() && std::islower(static_cast<unsigned char>(extension[0]));
    base = (hasExtension ? input.substr(0, dot) : input) + (lower ? ".txt" : ".TXT");
  }
  if (channels == 1 || onlyChannel > 0) return {base};
  const size_t slash = base.find_last_of('/');
  size_t dot = base.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = base.size();
  std::vector<std::string> names;
  for (int c = 1; c <= channels; ++c) names.push_back(base.substr(0, dot) + "_" + std::to_string(c) + base.substr(dot));
  return names;
}

DztToTextResult DztToText(const std::string& input, const std::string& output, const DztToTextOptions& options,
                          const std::function<void(int64_t, int64_t)>& progress) {
  DztToTextResult result;
  const DztHeader& h = result.header = ReadDztHeader(input);
  if (options.channel > h.channels) {
    throw DztError(input + ": has " + std::to_string(h.channels) + " channel" + (h.channels == 1 ? "" : "s") +
                   ", no channel " + std::to_string(options.channel));
  }
  const std::vector<std::string> names = DztTextNames(input, output, h.channels, options.channel);
  for (const std::string& name : names) {
    std::error_code ec;
    if (std::filesystem::equivalent(input, name, ec)) {
      throw DztError(input + ": the text " + name + " would replace the radar file itself; name another output");
    }
  }
  const int first = options.channel > 0 ? options.channel - 1 : 0;
  const int64_t rows = int64_t(h.samplesPerScan) * static_cast<int64_t>(names.size());
  int64_t done = 0;
  for (size_t k = 0; k < names.size(); ++k) {
    const std::vector<int32_t> values = ReadDztChannel(input, h, first + static_cast<int>(k), options.centre);
    BinaryFile out(names[k], BinaryFile::Mode::Create);
    int64_t at = 0;
    WriteDztColumns(values, h.samplesPerScan, h.scans, [&](std::string_view row) {
      out.Write(at, row.data(), row.size());
      at += static_cast<int64_t>(row.size());
      if (progress && ++done % 64 == 0) progress(done, rows);
    });
    out.Close();
    result.outputs.push_back(names[k]);
  }
  if (progress) progress(rows, rows);
  if (h.leftoverBytes > 0) {
    result.notes.push_back("The last " + std::to_string(h.leftoverBytes) +
                           " bytes of the file are a scan cut short; they were left out.");
  }
  if (h.scans > 32767 || h.samplesPerScan > 8131) {
    result.notes.push_back("The ASCII import takes at most 32767 traces of at most 8131 samples.");
  }
  return result;
}

}  // namespace vexmor
