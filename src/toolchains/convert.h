#pragma once
// Convert: one panel for six jobs, chosen by ConvertMode. SEG-D, SEG-Y and
// SU to SEG-Y run our Seismic Unix tools through convert.bat; KGS integer
// and KGS floating to SU, and SU to KGS floating, are our own code.
#include <span>
#include <string>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> ConvertControls();

struct Convert {
  explicit Convert(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];  // input path
  Control& Text2 = form["Text2"];  // output path
  Control& Frame1 = form["Frame1"];
  Control& Option1 = form["Option1"];  // little-endian SEG-Y
  Control& Option2 = form["Option2"];
  Control& ProgressBar1 = form["ProgressBar1"];
  Control& Timer1 = form["Timer1"];
  Control& Label1 = form["Label1"];  // how the last tool job ended
  Control& Timer2 = form["Timer2"];  // watches that job

  void Form_Load();
  void Lecture();
  void Choix_out();
  void Command2_Click();
  void Command1_Click();
  void timer1_timer();
  void Timer2_Timer();

  void Convert_SEGD_2_SU();
  void Convert_SEGY_2_SU();
  void Convert_SU_2_SEGY();
  void Convert_KGSI_2_SU();
  void Convert_KGS_2_SU();
  void Convert_SU_2_KGS();

 private:
  bool CommonOpening(bool deleteOutput);
  std::string ScriptPath() const;
  void StartToolJob(const std::vector<std::string>& lines);
  void CloseWithMessage();
  int32_t AskSourceDepth();
  int16_t AskSuToKgs(const std::string& prompt, const std::string& defaultText);

  int watchedTask_ = 0;
  std::string watchedOutput_;
};

}  // namespace vexmor
