#include "dzt_text.h"

#include <cctype>
#include <charconv>
#include <filesystem>
#include <algorithm>
#include <cstring>
#include <span>

#include "core/binary_file.h"
#include "core/mapped_file.h"
#include "core/su_trace.h"

namespace vexmor {

void WriteDztColumns(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans,
                     const std::function<void(std::string_view row)>& put) {
  const auto ns = static_cast<size_t>(samplesPerScan);
  WriteColumnText(samplesPerScan, scans, [&](size_t s, size_t k) { return values[s * ns + k]; }, put);
}

std::string DztColumnText(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans) {
  std::string text;
  WriteDztColumns(values, samplesPerScan, scans, [&text](std::string_view row) { text += row; });
  return text;
}

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

std::string CutWhileReadNote(const std::string& input) {
  return input + " was cut short by another program while it was read: what was lost is written as zeros.";
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
  // Every row takes a sample from each scan, so the file is mapped rather
  // than read into memory: a channel of any length costs no copy, and the
  // pages walked are handed back every few thousand rows.
  const MappedFile mapped(input, MappedFile::Use::Walk);
  const std::span<const uint8_t> bytes = mapped.Bytes();
  if (h.headerBytes + h.scans * h.ScanBytes() > static_cast<int64_t>(bytes.size())) {
    throw DztError(input + ": shorter than its header says (changed?)");
  }
  const auto ns = static_cast<size_t>(h.samplesPerScan);
  const auto width = static_cast<size_t>(h.BytesPerSample());
  const auto scanBytes = static_cast<size_t>(h.ScanBytes());
  const int32_t zero = !options.centre ? 0 : h.bits == 8 ? 128 : h.bits == 16 ? 32768 : 0;
  // A last scan cut short is written too, its missing bytes read as 0, as
  // our other tools pad a cut trace: nothing the file holds is dropped.
  const auto whole = static_cast<size_t>(h.scans);
  result.columns = h.scans + (h.leftoverBytes > 0 ? 1 : 0);
  for (size_t k = 0; k < names.size(); ++k) {
    const size_t channel = static_cast<size_t>(h.headerBytes) + (size_t(first) + k) * ns * width;
    BinaryFile out(names[k], BinaryFile::Mode::Create);
    int64_t at = 0;
    const auto value = [&](size_t scan, size_t sample) -> int32_t {
      const size_t offset = channel + scan * scanBytes + sample * width;
      uint8_t cut[4] = {0, 0, 0, 0};
      const uint8_t* p = bytes.data() + offset;
      if (scan >= whole) {
        if (offset < bytes.size()) std::memcpy(cut, p, std::min(width, bytes.size() - offset));
        p = cut;
      }
      return (width == 1 ? int32_t(p[0]) : width == 2 ? int32_t(GetLE16(p) & 0xFFFF) : GetLE32(p)) - zero;
    };
    WriteColumnText(h.samplesPerScan, result.columns, value, [&](std::string_view row) {
      out.Write(at, row.data(), row.size());
      at += static_cast<int64_t>(row.size());
      if (++done % 4096 == 0) mapped.Forget();
      if (progress && done % 64 == 0) progress(done, rows);
    });
    out.Close();
    result.outputs.push_back(names[k]);
  }
  if (progress) progress(rows, rows);
  if (mapped.CutWhileRead()) {
    result.damaged = true;
    result.notes.push_back(CutWhileReadNote(input));
  }
  if (h.leftoverBytes > 0) {
    result.damaged = true;
    result.notes.push_back("Scan " + std::to_string(result.columns) + " is cut short (" +
                           std::to_string(h.leftoverBytes) + " of " + std::to_string(scanBytes) +
                           " bytes): written padded with zeros.");
  }
  if (result.columns > 32767 || h.samplesPerScan > 8131) {
    result.notes.push_back("The ASCII import takes at most 32767 traces of at most 8131 samples.");
  }
  return result;
}

}  // namespace vexmor
