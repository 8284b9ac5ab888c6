#include "importers/seismograph/selection.h"

#include <filesystem>
#include <system_error>

#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "panels/control.h"
#include "platform/platform.h"

namespace vexmor {

std::string ChooseInputFiles(Platform& platform, const SharedState& state, const SelectionDialog& dialog) {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = dialog.title;
  request.filter = dialog.filter;
  request.fileName = dialog.fileName;
  request.multi = true;
  return platform.ChooseFile(request);
}

std::string ChooseOutputFile(Platform& platform, const SharedState& state, std::string_view title) {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = title;
  request.filter = "Seismic File |*.SU|All files|*.*|";
  request.fileName = "*.SU";
  return platform.ChooseFile(request);
}

std::vector<std::string> SplitAnswer(std::string& answer, size_t maxEntries) {
  std::vector<std::string> entries;
  while (entries.size() < maxEntries) {
    const size_t blank = answer.find(' ');
    if (blank == std::string::npos) {
      entries.push_back(answer);
      break;
    }
    entries.push_back(answer.substr(0, blank));
    answer.erase(0, blank + 1);
  }
  return entries;
}

void Affiche_file(std::string& Input_File, Control& grid, Control& outputText, Control& countText,
                  SharedState& state) {
  const std::vector<std::string> entries = SplitAnswer(Input_File, kGridEntries);
  const auto m = static_cast<int>(entries.size());
  state.NbRecords = static_cast<int16_t>(m - 1);
  if (m - 1 != 0) {
    grid.SetCellCount(m);
    for (int k = 0; k < m; ++k) grid.SetCell(k, entries[static_cast<size_t>(k)]);
    // A path with one blank in it splits in two: the proposal is then its
    // first part as it stands.
    outputText.SetText(m == 2 ? entries[0] : entries[0] + kSep + ReplaceLastThree(entries[1], "SU"));
  } else {
    state.NbRecords = 1;
    const std::string& path = entries[0];
    const size_t cut = path.rfind(kSep);
    const size_t nameAt = cut == std::string::npos ? 0 : cut + 1;
    grid.SetCellCount(2);
    grid.SetCell(0, path.substr(0, nameAt));
    grid.SetCell(1, path.substr(nameAt));
    outputText.SetText(ReplaceLastThree(path, "SU"));
  }
  countText.SetText(PlainDigits(state.NbRecords));
}

std::string GridFilePath(const Control& grid, int f) {
  const auto& cells = grid.Cells();
  if (f < 1 || static_cast<size_t>(f) >= cells.size()) {
    throw RunTimeFailure(FailureCode::OutOfRange, "the selection has no file number " + std::to_string(f));
  }
  return cells[0] + kSep + cells[static_cast<size_t>(f)];
}

std::optional<int64_t> FileSizeOf(const std::string& path) {
  if (path.empty() || HasWildcards(path)) return std::nullopt;
  namespace fs = std::filesystem;
  std::error_code ec;
  const fs::path found(ResolveExisting(path));
  if (!fs::is_regular_file(found, ec)) return std::nullopt;
  const auto size = fs::file_size(found, ec);
  if (ec) return std::nullopt;
  return static_cast<int64_t>(size);
}

}  // namespace vexmor
