#pragma once
// DT1: one EKKO radar line (.DT1 with its .HD header text) to one SU file.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> Dt1Controls();

struct DT1 {
  explicit DT1(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];  // input .DT1
  Control& Text2 = form["Text2"];  // output SU
  Control& Text8 = form["Text8"];  // traces
  Control& Text5 = form["Text5"];  // sampling interval, ns
  Control& Text7 = form["Text7"];  // time window, ns
  Control& Text6 = form["Text6"];  // samples per input trace
  Control& Text4 = form["Text4"];  // trace spacing
  Control& Text3 = form["Text3"];  // time-zero point
  Control& RichTextBox1 = form["RichTextBox1"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Choix_IP();
  void Choix_OP();
  void Command3_Click();
  void Command5_Click();

 private:
  void ReadHeaderText(const std::string& headerText);
};

}  // namespace vexmor
