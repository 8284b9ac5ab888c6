#pragma once
// editor: a small text editor for job scripts and history files. It opens
// on the file named in EditorFile, loaded once, when the panel loads.
#include <span>
#include <string>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> EditorControls();

struct editor {
  explicit editor(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& RichTextBox1 = form["RichTextBox1"];
  Control& Toolbar1 = form["Toolbar1"];

  void Form_Load();
  void open_Click();
  void save_Click();
  void Find_Click();
  void Replacement_Click();
  void Font_Click();
  void Print_Click();
  void Toolbar1_ButtonClick(EventArgs& args);

 private:
  void Load(const std::string& path);
  void BuildToolbar();
  // The file in hand ends its lines with CR LF: so does its saved text,
  // whatever the screen made of them.
  bool crlfLines_ = false;
};

}  // namespace vexmor
