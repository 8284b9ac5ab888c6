#pragma once
// sisforme: the generic importer. Any binary record that the user can
// describe by a handful of numbers becomes one SU file:
//
//   input file:  | file header | th | trace 1 | th | trace 2 | ... | th | trace N |
//                  Text7 bytes   Text8 bytes, then Text4 samples of 2 or 4 bytes
//
// No header value of the input reaches the SU file; traces are numbered by
// file (fldr) and by place in the file (tracf).
#include <span>
#include <string>

#include "importers/seismograph/generic_layout.h"
#include "importers/seismograph/su_trace_writer.h"
#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> SisformeControls();

struct Sisforme {
  explicit Sisforme(Session& session);

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
  Control& Text9 = form["Text9"];
  Control& Label8 = form["Label8"];
  Control& Option1 = form["Option1"];
  Control& Option2 = form["Option2"];
  Control& Option3 = form["Option3"];
  Control& Grid1 = form["Grid1"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Form_Load();
  void Select_i();
  void Affiche_file(std::string& Input_File);
  void Outputfile();
  void Calcul_gd_file();
  void Command1_Click();
  void Command2_Click();

 private:
  SampleType ChosenType() const;
  void Convert(GenericRecordLayout& layout);
  void ConvertFile(BinaryFile& input, int f, const GenericRecordLayout& layout, SuTraceWriter& writer,
                   std::vector<uint8_t>& raw, std::vector<float>& samples);
};

}  // namespace vexmor
