#include "importers/seismograph/list_selection.h"

#include "core/failure.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "core/text.h"
#include "panels/control.h"

namespace vexmor {

ListSelection SelectIntoList(Platform& platform, SharedState& state, Control& list, const ListSelectionRules& rules) {
  ListSelection selection;
  selection.answer = ChooseInputFiles(platform, state, rules.dialog);
  state.InputFile = selection.answer;
  selection.multi = selection.answer.find(' ') != std::string::npos;
  std::string rest = selection.answer;
  selection.entries = SplitAnswer(rest, kListEntries);
  if (!selection.multi && rules.oneFileCase) {
    selection.added.push_back(selection.answer);
  } else {
    const std::string& folder = selection.entries[0];
    for (size_t k = 1; k < selection.entries.size(); ++k) {
      std::string name = selection.entries[k];
      if (rules.keepName != nullptr && !rules.keepName(name)) continue;
      selection.added.push_back(folder + kSep + name);
    }
  }
  for (const std::string& path : selection.added) list.AddItem(path);
  return selection;
}

std::string ListLine(const Control& list, int index) {
  const auto& items = list.Items();
  if (index < 0 || static_cast<size_t>(index) >= items.size()) {
    throw RunTimeFailure(FailureCode::OutOfRange, "the list has no line " + std::to_string(index + 1));
  }
  return items[static_cast<size_t>(index)];
}

std::string ProposedSuName(const ListSelection& selection) {
  if (!selection.multi) {
    std::string path = selection.answer;
    std::erase(path, ' ');
    return ReplaceLastThree(path, "SU");
  }
  const std::string first = selection.entries.size() > 1 ? selection.entries[1] : std::string();
  return selection.entries[0] + kSep + ReplaceLastThree(first, "SU");
}

std::string ProbeFile(const ListSelection& selection, const Control& list) {
  if (!selection.multi) return selection.answer;
  return ListLine(list, 1);
}

std::string SingleSeparators(std::string path) {
  const char twice[] = {kSep, kSep, '\0'};
  const char once[] = {kSep, '\0'};
  ReplaceAll(path, twice, once);
  return path;
}

}  // namespace vexmor
