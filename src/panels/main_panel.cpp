#include "panels/main_panel.h"

#include "core/text.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlSpec kControls[] = {
    {"Frame1", Frame, "To Seismic Unix", "Select a file format and press on CONVERT"},
    {"Option1", Option, "SEG-2 to Seismic Unix", "", "", "Frame1"},
    {"Option2", Option, "SEG-Y to Seismic Unix", "", "", "Frame1"},
    {"Option3", Option, "KGS integer to Seismic Unix", "", "", "Frame1"},
    {"Option4", Option, "ES-1225 to Seismic Unix", "", "", "Frame1"},
    {"Option5", Option, "ABEM Mark 3 to Seismic Unix", "", "", "Frame1"},
    {"Option6", Option, "Dolang to Seismic Unix", "", "", "Frame1"},
    {"Option7", Option, "Other files to Seismic Unix", "", "", "Frame1"},
    {"Option9", Option, "KGS floating to Seismic Unix", "", "", "Frame1"},
    {"Option10", Option, "OYO McSEIS-170", "", "", "Frame1"},
    {"Option13", Option, "SEG-D to Seismic Unix", "", "", "Frame1"},
    {"Option14", Option, "Bison 5000 to Seismic Unix", "", "", "Frame1"},
    {"Option16", Option, "PASI LCM-12 Ascii", "", "", "Frame1"},
    {"Option19", Option, "Ambrogeo", "", "", "Frame1"},
    {"Option23", Option, "ASCII to SU", "", "", "Frame1"},
    // Selected and invisible, so that the first click on any visible option
    // of the frame is a change of selection and raises a click.
    {"Option21", Option, "Option21", "", "", "Frame1", kHidden | kSelected},
    {"Frame2", Frame, "Reverse conversion"},
    {"Option24", Option, "Seismic Unix to ASCII (1 file with x channels)", "", "", "Frame2"},
    {"Option8", Option, "Seismic Unix to Ascii (1 file/channel)", "", "", "Frame2"},
    {"Option11", Option, "Seismic Unix to KGS floating", "", "", "Frame2"},
    {"Option15", Option, "Seismic Unix to SEG-Y", "", "", "Frame2"},
    {"Option20", Option, "Add SU files", "", "", "Frame2"},
    {"Option22", Option, "Option22", "", "", "Frame2", kHidden | kSelected},
    {"Frame3", Frame, "Radar files to SU"},
    {"Option12", Option, "RAMAC Radar files", "", "", "Frame3"},
    {"Option17", Option, "EKKO Pulse DT1 to Seismic Unix", "", "", "Frame3"},
    {"Option18", Option, "GSSI DZT radar to SU", "", "", "Frame3"},
    {"Frame4", Frame, "Display field data"},
    {"Option25", Option, "SEG-2", "", "", "Frame4"},
    {"Option26", Option, "SEG-Y", "", "", "Frame4"},
    {"Option27", Option, "GSSI Radar file", "", "", "Frame4"},
    {"Check1", Check, "Close SU windows automatically", "This option can make problems, you can cancel this option "},
    {"Command2", Button, "Quit", "Click here when conversion is done"},
    {"Command3", Button, "Info", "How to use this module"},
    {"Command4", Button, "Seismic file explorer", "\"Use this option to pick a value ine any file\""},
    {"CmDialog1", FileDialog, "", "", "", "", kHidden},
};

constexpr EventRow<MainPanel> kEvents[] = {
    {kFormEvents, "Load", Op<&MainPanel::Form_Load>},
};

}  // namespace

std::span<const ControlSpec> MainPanelControls() { return kControls; }

MainPanel::MainPanel(Session& s)
    : session(s),
      state(s.State()),
      platform(s.GetPlatform()),
      form(s, "MainPanel", "Norvane Seismic file conversion", kControls) {
  BindEvents<MainPanel>(form, *this, kEvents);
}

void MainPanel::Form_Load() {
  FindToolDir(state, platform);
  state.CommandPrefix = "command.com /c ";
  state.NewLine = "\r\n";
}

}  // namespace vexmor
