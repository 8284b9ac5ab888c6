#include "toolchains/su2sgy.h"

#include <filesystem>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/text.h"
#include "importers/seismograph/selection.h"
#include "toolchains/job_script.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr const char* kPanel = "SU2SGY";
constexpr const char* kTitle = kConverterTitle;

constexpr ControlDef kControls[] = {
    {"Command3", Button, "Input file"},
    {"Text1", Text, "", "", " "},
    {"Command4", Button, "Output file"},
    {"Text2", Text, "", "", " "},
    {"Text3", Text, "Trace minimum", "", "1"},
    {"Text4", Text, "Trace maximum", "", "10000"},
    {"Text5", Text, "Buffered (0 or 1)", "", "1", "", 0, "01"},
    {"Text6", Text, "convert (0= dont convert to IBM)", "", "1", "", 0, "01"},
    {"Text7", Text, "Maximum errors", "", "0"},
    {"Text8", Text, "Endian (0 for PC)", "", "0", "", 0, "01"},
    {"Command2", Button, "Convert"},
    {"Command1", Button, "Cancel"},
    {"Command5", Button, "Info"},
    {"CmDialog1", FileDialog},
};

constexpr EventRow<Su2Sgy> kEvents[] = {
    {"Command3", "Click", Op<&Su2Sgy::Command3_Click>},
    {"Command4", "Click", Op<&Su2Sgy::Command4_Click>},
    {"Command2", "Click", Op<&Su2Sgy::Command2_Click>},
    {"Command5", "Click", Op<&Su2Sgy::Command5_Click>},
    {"Command1", "Click", Op<&Su2Sgy::Command1_Click>},
    {"Text5", "KeyPress", OpArgs<&Su2Sgy::ZeroOrOne>},
    {"Text6", "KeyPress", OpArgs<&Su2Sgy::ZeroOrOne>},
    {"Text8", "KeyPress", OpArgs<&Su2Sgy::ZeroOrOne>},
};

constexpr const char* kInfoLines[] = {
    " buff=1 for buffered device (9-track reel tape drive)",
    " buff=0 possibly useful for 8mm EXABYTE drive",
    " conv=1 =0 dont convert to IBM format",
    " trmin=1 first trace to write",
    " trmax=INT_MAX  last trace to write",
    " endian=1   =0 for little-endian machines (PCs, DEC,etc...)",
    " errmax=0   allowable number of consecutive tape IO errors",
};

}  // namespace

std::span<const ControlDef> Su2SgyControls() { return kControls; }

Su2Sgy::Su2Sgy(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, kPanel, "SU to SEGY ", kControls) {
  BindEvents<Su2Sgy>(form, *this, kEvents);
}

void Su2Sgy::ZeroOrOne(EventArgs& args) { args.key = KeyFilter(args.key, "01", true, platform); }

void Su2Sgy::Command3_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "SU file selection";
  request.filter = "SU file |*.SU*|All files|*.*|";
  request.fileName = "*.SU";
  const std::string answer = platform.ChooseFile(request);
  // A cancelled dialog answers its preset pattern: nothing was chosen.
  if (HasWildcards(answer)) return;
  state.InputFile = answer;
  Text1.SetText(answer);
  Text2.SetText(answer.substr(0, answer.size() >= 2 ? answer.size() - 2 : 0) + "SGY");
  SkipOnFailure([&] {
    BinaryFile file(ResolveExisting(answer), BinaryFile::Mode::Read);
    if (file.Size() < 118) return;
    const int16_t ns = file.ReadI16(114);
    state.SampleInterval = file.ReadI16(116);
    const int16_t traceBytes = ToInt16(ns * 4.0 + 240.0);
    if (traceBytes == 0) return;
    Text4.SetText(ShortestText(double(file.Size()) / traceBytes));
  });
}

void Su2Sgy::Command4_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "SEG-Y file selection";
  request.filter = "SEGY |*.SGY*|All files|*.*|";
  request.fileName = "*.SGY";
  request.save = true;
  const std::string answer = platform.ChooseFile(request);
  if (HasWildcards(answer)) return;
  state.OutputFile = answer;
  Text2.SetText(answer);
}

void Su2Sgy::Command2_Click() {
  if (state.InputFile.empty()) return;
  if (FileExists(Text2.Text()) == 1) {
    const int answer =
        platform.MessageBox(Text2.Text() + " already exists, delete this file ?", buttons::kQuestionYesNo, kTitle);
    if (answer != answers::kYes) return;
    std::error_code ec;
    std::filesystem::remove(ResolveExisting(Text2.Text()), ec);
  }
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  // The first text ends in a line break of its own: a blank line follows.
  const std::string script = WorkFolder() + "convert.bat";
  WriteJobScript(script,
                 {state.ToolDir + "SEGYHDRS <" + Text1.Text() + newLine,
                  state.ToolDir + "SEGYWRITE <" + Text1.Text() + " tape=" + Text2.Text() + " conv=" + Text6.Text() +
                      " trmin=" + Text3.Text() + " trmax=" + Text4.Text() + " endian=" + Text8.Text() +
                      " buffer=" + Text5.Text() + " errmax=" + Text7.Text()},
                 newLine);
  if (StartJobScript(platform, state, script, 1) == 0) {
    platform.MessageBox(" Conversion problem...verify parameters", buttons::kCritical, kTitle);
    return;
  }
  platform.MessageBox(" Conversion OK", buttons::kInformation, kTitle);
}

void Su2Sgy::Command5_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text = "Optional parameter:" + newLine + newLine;
  for (const char* line : kInfoLines) text += line + newLine;
  platform.MessageBox(text, buttons::kInformation, kTitle);
}

void Su2Sgy::Command1_Click() { session.Close(kPanel); }

}  // namespace vexmor
