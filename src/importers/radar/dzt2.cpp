#include "importers/radar/dzt2.h"

#include "core/paths.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    // rtoaw's window with the values that make its text read by ASCII2SU
    // give the samples of the direct conversion.
    {"Picture1", Picture, "", "Use the same values for DZT to ASCII conversion", "rtoaw-parameters.png"},
    {"Command3", Button,
     "Step 1: You must convert the DZT file to ASCII format using the GSSI conversion module using the above "
     "parameters, Remember the number of samples per scan (trace) !"},
    {"Command1", Button, "Step 2: Convert ASCII data to SEISMIC UNIX format"},
    {"Command2", Button, "Direct conversion of a DZT file to SU, in one step"},
};

constexpr EventRow<DZT2> kEvents[] = {
    {"Command3", "Click", Op<&DZT2::Command3_Click>},
    {"Command1", "Click", Op<&DZT2::Command1_Click>},
    {"Command2", "Click", Op<&DZT2::Command2_Click>},
};

}  // namespace

std::span<const ControlDef> Dzt2Controls() { return kControls; }

DZT2::DZT2(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "DZT2", "GSSI DZT file conversion", kControls) {
  BindEvents<DZT2>(form, *this, kEvents);
}

void DZT2::Command3_Click() {
  const std::string command = platform.ProgramFolder() + kSep + "rtoaw.exe";
  if (platform.Shell(command, 1) == 0) {
    platform.MessageBox("rtoaw.exe must be in the same folder as VEXMOR.EXE", 0, "");
  }
}

void DZT2::Command1_Click() { session.Open("ASCII2SU"); }

void DZT2::Command2_Click() { session.Open("DZT_old"); }

}  // namespace vexmor
