#pragma once
// DOLANG: a Dolang shot, one ASCII file for each channel and an .ADT info
// file (dolang_format.h), to one SU file. The user selects all channel
// files, the info file fills the fields, and "Convert" takes one trace from
// each channel file, C files for each record, in the order of the list.
// "Make SEG-Y file" puts a zero SEG-Y reel header ahead of a copy of the
// output, through a job script.
#include <span>
#include <string>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> DolangControls();

struct Dolang {
  explicit Dolang(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& List1 = form["List1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& Text6 = form["Text6"];
  Control& Text7 = form["Text7"];
  Control& Text8 = form["Text8"];
  Control& Label8 = form["Label8"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Command6_Click();
  void Select_i();
  void Read_info_file();
  void Lecture_adt();
  void Choix_SU();
  void Command1_Click();
  void Command2_Click();
  void Command4_Click();
  void Make_SEGY();
};

}  // namespace vexmor
