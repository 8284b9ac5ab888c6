#pragma once
// DZT_old: one GSSI DZT file to one SU file, reading the binary file itself.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> DztOldControls();

struct DZT_old {
  explicit DZT_old(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];  // input .DZT
  Control& Text2 = form["Text2"];  // output SU
  Control& Text3 = form["Text3"];  // words per trace M
  Control& Text5 = form["Text5"];  // traces T
  Control& Text4 = form["Text4"];  // sampling interval, ns as it stands
  Control& Combo1 = form["Combo1"];  // "8" or "16": the word width
  Control& Text6 = form["Text6"];  // trace spacing
  Control& ProgressBar1 = form["ProgressBar1"];

  void Form_Load();
  void Choix_IP();
  void Choix_OP();
  void Command3_Click();
  void Command4_Click();
  void Command5_Click();
  void Digits(EventArgs& args);
  void DigitsAndPoint(EventArgs& args);
};

}  // namespace vexmor
