#pragma once
// SEGY: one or many SEG-Y records to one SU file through segyread and
// segyclean. The panel proposes the tool parameters from two words of the
// first trace header, proves them on a 24-trace test drawn on the tab
// "Display", then converts file by file, each job signalling its end by a
// marker file, joins the results and checks the size of the whole.
#include <span>
#include <string>

#include "panels/form.h"
#include "panels/session.h"
#include "toolchains/display_su.h"

namespace vexmor {

std::span<const ControlDef> SegyControls();

struct Segy {
  explicit Segy(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& SSTab1 = form["SSTab1"];
  Control& List1 = form["List1"];
  Control& Text1 = form["Text1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& Text6 = form["Text6"];
  Control& Text7 = form["Text7"];
  Control& Text8 = form["Text8"];
  Control& Text9 = form["Text9"];
  Control& Text10 = form["Text10"];
  Control& Text11 = form["Text11"];
  Control& Text12 = form["Text12"];
  Control& Text13 = form["Text13"];
  Control& Check1 = form["Check1"];
  Control& Command2 = form["Command2"];
  Control& Command5 = form["Command5"];
  Control& ProgressBar1 = form["ProgressBar1"];
  Control& RichTextBox1 = form["RichTextBox1"];
  Control& Timer1 = form["Timer1"];
  Control& ecran = form["ecran"];

  DisplayMemory display;
  // A Test or Convert under way: its waits pump events, and a second press
  // meanwhile would share its work files.
  bool running = false;

  void Form_Load();
  void Form_Unload();
  void Select_i();
  void Command4_Click();
  void Command5_Click();
  void Command2_Click();
  void timer1_timer();
  void Display_SU(const std::string& path);
  void Text13_Change();
  void ecran_MouseMove(EventArgs& args);

 private:
  void ReadProbe(const std::string& probe);
  void ProbeWithTool(const std::string& probe, int16_t ns);
  void SetTraceCount(const std::string& probe, int16_t ns);
  void Convert();
  void ConvertSeveral(const std::string& rangeText, const std::string& nsText);
  std::string ToolLine(const std::string& input, const std::string& target, const std::string& nsText,
                       const std::string& rangeText) const;
};

// The plain text of a rich-text document: control words and groups of
// hidden destinations dropped, paragraphs as line breaks.
std::string RichTextToPlain(const std::string& rtf);

}  // namespace vexmor
