#pragma once
// Bison: Bison 5000 records, one file for each shot, to one SU file. The
// record's header of text fields gives the channels, the samples, the
// interval and its own size (bison_format.h); the panel shows them and the
// user may correct them before "Convert".
#include <span>
#include <string>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> BisonControls();

struct Bison {
  explicit Bison(Session& session);

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
  Control& Label8 = form["Label8"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Select_i();
  void Header_Size();
  void Outputfile();
  void Command1_Click();
  void Command2_Click();

 private:
  void Convert();
};

}  // namespace vexmor
