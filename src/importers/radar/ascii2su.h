#pragma once
// ASCII2SU: a text of numbers, one column for each trace, to one SU file;
// seismic and radar alike.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> Ascii2SuControls();

struct ASCII2SU {
  explicit ASCII2SU(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];  // input text
  Control& Text2 = form["Text2"];  // output SU
  Control& Text3 = form["Text3"];  // samples per trace S
  Control& Text4 = form["Text4"];  // sampling interval R, to dt as it stands
  Control& Text5 = form["Text5"];  // traces T
  Control& Check1 = form["Check1"];  // radar: nhs 95
  Control& ProgressBar1 = form["ProgressBar1"];

  void Command1_Click();
  void Command2_Click();
  void convert_ascii();
  void Command4_Click();
  void Command5_Click();
};

}  // namespace vexmor
