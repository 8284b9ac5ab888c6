#pragma once
// pick, the seismic file explorer: the value of one header word of the
// first trace of an SU or SEG-Y file, or of any number at any byte of any
// file. Nothing is written.
#include <span>
#include <string>

#include "core/su_trace.h"
#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> PickControls();

// The line of the word list for a word of the SU table: its number in four
// columns, then the word's own wording.
std::string PickItemText(const SuWord& word);

// Bytes read by "word": one card of a SEG-Y text header.
inline constexpr size_t kPickTextBytes = 80;

struct pick {
  explicit pick(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Frame2 = form["Frame2"];
  Control& Option1 = form["Option1"];
  Control& Option2 = form["Option2"];
  Control& Option3 = form["Option3"];
  Control& Option4 = form["Option4"];
  Control& Option5 = form["Option5"];
  Control& Option6 = form["Option6"];
  Control& Option7 = form["Option7"];
  Control& Combo1 = form["Combo1"];
  Control& Check1 = form["Check1"];

  void Form_Load();
  void Command1_Click();
  void Option1_Click();
  void Option2_Click();
  void Option3_Click();
  void Command2_Click();
  void Command3_Click();
  void Command4_Click();

 private:
  void ShowSize();
  void FileTypeChosen(bool headerWords);
  void ReadHeaderWord();
  void ReadAnyNumber();
};

}  // namespace vexmor
