#include "panels/main_panel.h"

#include <exception>

#include "core/paths.h"
#include "core/text.h"
#include "utilities/su_ascii.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
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
    {kFormEvents, "Unload", Op<&MainPanel::Form_Unload>},
    {"Option25", "Click", Op<&MainPanel::Option25_Click>},
    {"Option26", "Click", Op<&MainPanel::Option26_Click>},
    {"Option27", "Click", Op<&MainPanel::Option27_Click>},
    {"Command2", "Click", Op<&MainPanel::Command2_Click>},
    {"Command3", "Click", Op<&MainPanel::Command3_Click>},
    {"Command4", "Click", Op<&MainPanel::Command4_Click>},
};

void StartSeg2Su(MainPanel& panel) {
  if (panel.platform.Shell("SEG2SU.EXE", 1) == 0) {
    panel.platform.MessageBox("SEG2SU.EXE must be in the same folder as VEXMOR.EXE", buttons::kOk, "");
  }
}
void RunSu2Ascii(MainPanel& panel) { su2Ascii(panel.session); }
void RunSu2Ascii2(MainPanel& panel) { su2ascii2(panel.session); }

// One step of the dispatch: what a selected option does. ConvertMode is set
// ahead of opening the panel that reads it.
struct LanceStep {
  std::string_view option;
  std::string_view panel = {};        // panel opened, if any
  std::string_view convertMode = {};  // job of the panel Convert, if any
  void (*run)(MainPanel&) = nullptr;  // an action in place, if any
};

// The dispatch order. Every option here runs Lance when clicked.
constexpr LanceStep kLanceSteps[] = {
    {"Option1", {}, {}, StartSeg2Su},
    {"Option24", {}, {}, RunSu2Ascii},
    {"Option2", "SEGY", "SEGY2SU"},
    {"Option3", "Convert", "KGSI2SU"},
    {"Option4", "es1225"},
    {"Option5", "abem"},
    {"Option6", "DOLANG"},
    {"Option7", "sisforme"},
    {"Option8", {}, {}, RunSu2Ascii2},
    {"Option9", "Convert", "KGS2SU"},
    {"Option10", "oyo"},
    {"Option11", "Convert", "SU2KGS"},
    {"Option12", "Radar_F"},
    {"Option14", "Bison"},
    {"Option13", "Convert", "SEGD2SU"},
    {"Option15", "SU2SGY"},
    {"Option16", "pasi"},
    {"Option17", "DT1"},
    {"Option18", "DZT2"},
    {"Option19", "Ambrogeo"},
    {"Option20", "Add_SU_files"},
    {"Option23", "ASCII2SU"},
};

constexpr const char* kHelpLines[] = {
    "Select the type of file and press on CONVERT",
    " If you don't know what type of file your seismograph",
    " produce, you must read the owner manual. ",
    " If your seismograph don't appears on the panel  ",
    " you can contact Norvane.  ",
    " E-mail us some file sample and all available informations ",
    " Number of samples, sample rate, traces per record...  ",
    " ALL TYPE OF FILES CAN BE CONVERTED !",
    " If you are familiar with ¨seismic data use OTHER FILE TO SU menu !",
    " This module can convert nearly all type of seismic file ",
};

// A step that fails is passed over and the next one runs, whatever the
// failure: a panel that cannot load keeps none of the others shut.
template <typename Step>
void PassOver(Step&& step) {
  try {
    step();
  } catch (const std::exception&) {
  }
}

}  // namespace

std::span<const ControlDef> MainPanelControls() { return kControls; }

MainPanel::MainPanel(Session& s)
    : session(s),
      state(s.State()),
      platform(s.GetPlatform()),
      form(s, "MainPanel", "Norvane Seismic file conversion", kControls) {
  BindEvents<MainPanel>(form, *this, kEvents);
  for (const LanceStep& step : kLanceSteps) form.On(step.option, "Click", [this](EventArgs&) { Lance(); });
}

void MainPanel::Form_Load() {
  FindToolDir(state, platform);
  state.CommandPrefix = "command.com /c ";
  state.NewLine = "\r\n";
}

void MainPanel::Form_Unload() {
  // Nothing to save and nothing to wait for: the session ends every other
  // panel with this one, and jobs in their shell windows run on.
}

void MainPanel::Lance() {
  state.CommandPrefix = Check1.Value() ? "command.com /c " : "";
  for (const LanceStep& step : kLanceSteps) {
    if (!form[step.option].Value()) continue;
    PassOver([&] {
      if (!step.convertMode.empty()) state.ConvertMode = step.convertMode;
      if (!step.panel.empty()) session.Open(step.panel);
      if (step.run != nullptr) step.run(*this);
    });
  }
}

void MainPanel::LaunchViewer(const std::string& program) {
  const std::string folder = platform.ProgramFolder();
  if (platform.ShellOpen(form.Name(), "open", program, folder) < 32) {
    platform.MessageBox("Unable to shell application:" + program, buttons::kOk, "");
  }
}

void MainPanel::Option25_Click() {
  PassOver([&] { LaunchViewer(platform.ProgramFolder() + kSep + "quartel.exe"); });
}

void MainPanel::Option26_Click() {
  PassOver([&] { LaunchViewer(platform.ProgramFolder() + kSep + "quartely.exe"); });
}

void MainPanel::Option27_Click() {
  PassOver([&] {
    const std::string program = platform.ProgramFolder() + kSep + "tolmix.exe";
    if (FileExists(program) == 0) {
      platform.MessageBox("Download TOLMIX.EXE from web and put this file in BIN folder", buttons::kCritical,
                          kConverterTitle);
      return;
    }
    LaunchViewer(program);
  });
}

void MainPanel::Command2_Click() { session.Close(form.Name()); }

void MainPanel::Command3_Click() {
  std::string text;
  for (const char* line : kHelpLines) text += line + state.NewLine;
  platform.MessageBox(text, buttons::kInformation, kConverterTitle);
}

void MainPanel::Command4_Click() { session.Open("pick"); }

}  // namespace vexmor
