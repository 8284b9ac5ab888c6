#pragma once
// The two selections of the seismograph importers: the multi-file selection
// (a file dialog whose answer is the folder and the names, kept in a grid)
// and the output selection. The panels pass their own titles and filters.
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexmor {

class Control;
class Platform;
struct SharedState;

// Runs one step of an operation that passes over a failing step: a
// run-time failure (or a bad value) is swallowed and the next step runs.
template <typename Step>
void SkipOnFailure(Step&& step) {
  try {
    step();
  } catch (const std::exception&) {
  }
}

// What a selection dialog shows.
struct SelectionDialog {
  std::string_view title;
  std::string_view filter;    // "Record |*.a*|All files|*.*|"
  std::string_view fileName;  // preset, and the answer of a cancel
};

// The file-open dialog with multi-selection on, starting in FolderOf. Its
// answer is one path, or the folder and the names separated by single
// blanks; a cancel answers the preset name.
std::string ChooseInputFiles(Platform& platform, const SharedState& state, const SelectionDialog& dialog);

// The output dialog (an open dialog, not a save dialog) with the filter
// "Seismic File |*.SU|All files|*.*|" and the preset "*.SU"; the answer is
// taken as it stands.
std::string ChooseOutputFile(Platform& platform, const SharedState& state, std::string_view title);

// The answer cut at its blanks into at most maxEntries entries. The answer
// keeps what is left of it: the last entry, or what lies past the last kept
// entry when the table is full.
std::vector<std::string> SplitAnswer(std::string& answer, size_t maxEntries);

inline constexpr size_t kGridEntries = 900;

// Splits the dialog's answer into Grid1 (cell 0 the folder, cells 1..n the
// names), sets NbRecords and the count text, and proposes the output name.
// Input_File keeps what the split leaves of it.
void Affiche_file(std::string& Input_File, Control& grid, Control& outputText, Control& countText,
                  SharedState& state);

// Path of file number f (from 1) of the grid: cell 0, a separator, cell f.
// A cell that the grid does not have is a run-time failure.
std::string GridFilePath(const Control& grid, int f);

// Size in bytes of an existing file, found whatever its letter case.
std::optional<int64_t> FileSizeOf(const std::string& path);

}  // namespace vexmor
