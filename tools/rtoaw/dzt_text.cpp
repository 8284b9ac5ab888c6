#include "dzt_text.h"

#include <cctype>
#include <charconv>
#include <filesystem>

#include "core/binary_file.h"

namespace vexmor {

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
