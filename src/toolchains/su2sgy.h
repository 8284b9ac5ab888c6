#pragma once
// SU2SGY: one SU file to SEG-Y through segyhdrs and segywrite, every
// optional parameter of segywrite a field of the panel. The panel reads
// only the first trace header, to propose the trace count.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> Su2SgyControls();

struct Su2Sgy {
  explicit Su2Sgy(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& Text6 = form["Text6"];
  Control& Text7 = form["Text7"];
  Control& Text8 = form["Text8"];

  void Command3_Click();
  void Command4_Click();
  void Command2_Click();
  void Command5_Click();
  void Command1_Click();
  void ZeroOrOne(EventArgs& args);
};

}  // namespace vexmor
