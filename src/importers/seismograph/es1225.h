#pragma once
// es1225: ES-1225 records (SEG-1 layout, 12 channels of 1000 samples), one
// file for each shot, to one SU file. Nothing is read from a file's header:
// the traces are counted back from the end of each file (es1225_format.h),
// and the record length chosen in Combo1 gives the sample interval.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> Es1225Controls();

struct Es1225 {
  explicit Es1225(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& List1 = form["List1"];
  Control& Combo1 = form["Combo1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Form_Load();
  void Select_i();
  void Command4_Click();
  void Command1_Click();
  void Command2_Click();
  void DigitsOnly(EventArgs& args);

 private:
  void Convert();
};

}  // namespace vexmor
