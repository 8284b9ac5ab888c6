#pragma once
// The list selection of the importers that keep their files as full paths
// in a list control (List1) rather than a grid. The dialog's answer is one
// path, or the folder and the names separated by single blanks. The new
// paths come behind the lines already in the list: a second selection
// without a conversion in between appends, and the conversion always
// starts at the first line.
//
// The panels differ in what they do with a one-file answer, in the output
// name they propose and in which file they probe for its numbers; they
// state those differences with the helpers below.
#include <optional>
#include <string>
#include <vector>

#include "importers/seismograph/selection.h"

namespace vexmor {

class Control;
class Platform;
struct SharedState;

inline constexpr size_t kListEntries = 100;

struct ListSelectionRules {
  SelectionDialog dialog;
  // True: an answer with no blank is one file, added as it stands. False:
  // entry 0 is always the folder, so a one-file answer adds nothing.
  bool oneFileCase = true;
  // Optional: may change a selected name before it is joined to the folder,
  // and says whether its path goes to the list at all.
  bool (*keepName)(std::string& name) = nullptr;
};

// What one selection gave.
struct ListSelection {
  std::string answer;                 // the dialog's answer as it came
  std::vector<std::string> entries;   // cut at its blanks, at most 100
  std::vector<std::string> added;     // the paths added to the list
  bool multi = false;                 // the answer held a blank
};

// Shows the dialog (its answer goes to InputFile), cuts the answer and adds
// the paths to the list.
ListSelection SelectIntoList(Platform& platform, SharedState& state, Control& list, const ListSelectionRules& rules);

// Path of line `index` (from 0) of the list; a line that the list does not
// have is a run-time failure.
std::string ListLine(const Control& list, int index);

// The proposed SU name: for one file its path with all blanks removed and
// its last three characters replaced by "SU"; for several, the folder, a
// separator and the first name so changed.
std::string ProposedSuName(const ListSelection& selection);

// The file whose header gives the numbers: the path of a one-file answer,
// else the second line of the list (index 1).
std::string ProbeFile(const ListSelection& selection, const Control& list);

// The path with every double separator reduced to one.
std::string SingleSeparators(std::string path);

}  // namespace vexmor
