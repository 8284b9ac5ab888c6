#pragma once
// Add_SU_files: joins SU files into one by plain concatenation. SU files
// have no file header, so the bytes of one file can follow those of the
// other; no header word is touched. Each input is streamed, so inputs of any
// size join in constant memory.
#include <cstdint>
#include <span>
#include <string>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> AddSuFilesControls();

// Appends the whole of the input to the end of the output (made when
// missing). All or nothing: on any failure the output is cut back to its
// old length and false comes back. A folder or a missing input adds nothing.
bool AppendWholeFile(const std::string& input, const std::string& output);

struct Add_SU_files {
  explicit Add_SU_files(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& List1 = form["List1"];
  Control& Text2 = form["Text2"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& Text9 = form["Text9"];
  Control& Text10 = form["Text10"];
  Control& Check1 = form["Check1"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Command1_Click();
  void Command2_Click();

 private:
  bool OutputIsAnInput(int nbFiles) const;
  bool ClearOldOutput();
  void Join(int nbFiles);
};

}  // namespace vexmor
