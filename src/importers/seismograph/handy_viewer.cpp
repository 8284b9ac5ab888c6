#include "importers/seismograph/handy_viewer.h"

#include <optional>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/text.h"
#include "importers/seismograph/handy_viewer_format.h"
#include "importers/seismograph/list_selection.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command5", Button, "Press here to select McSeis3 files "},
    {"List1", List},
    {"Text3", Text, "Trace number per record", "Correct here the trace number if necesssary", "3"},
    {"Text4", Text, "Number of sample", "Correct hre the number of sample per trace", "445"},
    {"Text5", Text, "Sample rate (microS)", "Don't forget the sample rate !!!", "50"},
    {"Text6", Text, "Number of files to convert", "Type here the number of file to convert", "1"},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Command1", Button, "Convert"},
    {"Command4", Button, "Output file"},
    {"ProgressBar1", ProgressBar, "", "", "", "", kHidden},
};

constexpr EventRow<HandyViewer> kEvents[] = {
    {"Command5", "Click", Op<&HandyViewer::Command5_Click>},
};

const ListSelectionRules kSelection = {{"McSeis3 file selection", "Record |*.dat|All files|*.*|", "*.*"}, true};

}  // namespace

std::span<const ControlDef> HandyViewerControls() { return kControls; }

HandyViewer::HandyViewer(Session& s)
    : session(s),
      state(s.State()),
      platform(s.GetPlatform()),
      form(s, "HandyViewer", "Mc Seis 3 HandyViewer", kControls) {
  BindEvents<HandyViewer>(form, *this, kEvents);
}

void HandyViewer::Command5_Click() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  SkipOnFailure([&] { Text6.SetText(PlainDigits(selection->multi ? selection->entries.size() - 1.0 : 1.0)); });
  SkipOnFailure([&] { Text2.SetText(ProposedSuName(*selection)); });
  // A list without the probe's line gives no file to read, rather than
  // falling back on the dialog's answer.
  std::string probe;
  SkipOnFailure([&] { probe = ProbeFile(*selection, List1); });
  probe = SingleSeparators(probe);
  ReplaceAll(probe, " ", "");
  state.InputFile = probe;
  // A file that can't be read leaves Text5 as it was.
  SkipOnFailure([&] {
    BinaryFile file(state.InputFile, BinaryFile::Mode::Read);
    state.SampleInterval = ReadMcSeis3Interval(file);
    Text5.SetText(PlainDigits(state.SampleInterval));
  });
}

}  // namespace vexmor
