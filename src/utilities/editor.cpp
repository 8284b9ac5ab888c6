#include "utilities/editor.h"

#include "core/binary_file.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "core/text.h"
#include "importers/seismograph/selection.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Toolbar1", Toolbar},
    {"RichTextBox1", RichText, "", "", "", "", kMultiLine},
    {"CommonDialog1", FileDialog, "", "", "", "", kHidden},
    {"File", Menu, "File"},
    {"open", MenuEntry, "Open", "", "", "File"},
    {"save", MenuEntry, "Save", "", "", "File"},
    {"save_as", MenuEntry, "Save as", "", "", "File"},
    {"util", Menu, "Utility"},
    {"Find", MenuEntry, "Find text", "", "", "util"},
    {"Replacement", MenuEntry, "Replace text", "", "", "util"},
    {"Font", MenuEntry, "Font selection", "", "", "util"},
    {"Print", MenuEntry, "Print", "", "", "util"},
};

constexpr EventRow<editor> kEvents[] = {
    {kFormEvents, "Load", Op<&editor::Form_Load>},
    {"open", "Click", Op<&editor::open_Click>},
    {"save", "Click", Op<&editor::save_Click>},
    {"Find", "Click", Op<&editor::Find_Click>},
    {"Replacement", "Click", Op<&editor::Replacement_Click>},
    {"Font", "Click", Op<&editor::Font_Click>},
    {"Print", "Click", Op<&editor::Print_Click>},
    {"Toolbar1", "ButtonClick", OpArgs<&editor::Toolbar1_ButtonClick>},
};

constexpr const char* kPanel = "editor";
constexpr const char* kOpenPreset = "*.TXT";

struct ToolButton {
  const char* key;  // "" is the separator
  const char* tip;
};
constexpr ToolButton kButtons[] = {
    {"", ""},
    {"open", "Open an history file"},
    {"save", "Record the history file"},
    {"print", "Print the history file"},
    {"stop", "Exit file editor"},
};

// The search counts 1-based positions in 16 bits: it can't start past this.
constexpr size_t kLastSearchStart = 32767;

std::string WithCrLf(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
    out += text[i];
  }
  return out;
}

}  // namespace

std::span<const ControlDef> EditorControls() { return kControls; }

editor::editor(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, kPanel, kPanel, kControls) {
  BindEvents<editor>(form, *this, kEvents);
}

void editor::Form_Load() {
  if (FileExists(state.EditorFile) != 1) {
    platform.MessageBox(state.EditorFile + " file does not exists ", buttons::kOk, "");
  } else {
    Load(state.EditorFile);
  }
  form.SetCaption("Bravelle text editor: " + state.EditorFile);
  BuildToolbar();
}

// A file that can't be read leaves the text as it is.
void editor::Load(const std::string& path) {
  SkipOnFailure([&] {
    BinaryFile file(path, BinaryFile::Mode::Read);
    std::string text(static_cast<size_t>(file.Size()), '\0');
    text.resize(file.Read(0, text.data(), text.size()));
    crlfLines_ = text.find("\r\n") != std::string::npos;
    RichTextBox1.SetText(std::move(text));
    RichTextBox1.SetSelection(0, 0);
  });
}

void editor::BuildToolbar() {
  Toolbar1.ClearItems();
  for (size_t k = 0; k < std::size(kButtons); ++k) {
    Toolbar1.AddItem(kButtons[k].key);
    Toolbar1.SetItemTip(k, kButtons[k].tip);
  }
}

void editor::open_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "Text selection";
  request.filter = "SU history File |*.TXT|ll files|*.*|";
  request.fileName = kOpenPreset;
  const std::string answer = platform.ChooseFile(request);
  // A cancelled dialog hands back its preset: the text in hand stays.
  if (answer == kOpenPreset) return;
  state.EditorFile = answer;
  Load(answer);
}

void editor::save_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "Text selection";
  request.filter = "SU Batch File |*.BAT|Text files|*.txt|All files|*.*|";
  request.fileName = state.EditorFile;
  request.save = true;
  const std::string answer = platform.ChooseFile(request);
  // No name, or a pattern, names no file to write.
  if (answer.empty() || HasWildcards(answer)) return;
  state.EditorFile = answer;
  SkipOnFailure([&] {
    const std::string text = crlfLines_ ? WithCrLf(RichTextBox1.Text()) : RichTextBox1.Text();
    BinaryFile file(answer, BinaryFile::Mode::Create);
    file.Write(0, text.data(), text.size());
    file.Close();
  });
}

void editor::Find_Click() {
  const std::string what = platform.PromptValue("Type the text to find", "SU Batch editor", "");
  if (what.empty()) return;
  // From one character behind the start of the selection, so that a second
  // search finds the next one; no wrapping round.
  const size_t from = RichTextBox1.SelStart() + 1;
  const std::string& text = RichTextBox1.Text();
  const size_t at = from + 1 <= kLastSearchStart ? text.find(what, from) : std::string::npos;
  if (at == std::string::npos) {
    platform.Beep();
    return;
  }
  RichTextBox1.SetSelection(at, what.size());
}

void editor::Replacement_Click() {
  const std::string what = platform.PromptValue("Enter text to be replaced", "", "");
  const std::string with = platform.PromptValue("Enter new text ", "", "");
  if (what.empty()) return;
  std::string text = RichTextBox1.Text();
  ReplaceAll(text, what, with);
  RichTextBox1.SetText(std::move(text));
}

void editor::Font_Click() {
  if (const std::optional<TextFont> font = platform.ChooseFont(RichTextBox1.Font())) RichTextBox1.SetFont(*font);
}

void editor::Print_Click() {
  PrintJob job;
  job.selection = RichTextBox1.SelLength() > 0;
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  // The printer starts with an empty line.
  job.text = newLine + (job.selection ? RichTextBox1.SelectedText() : RichTextBox1.Text());
  job.font = RichTextBox1.Font();
  platform.PrintText(job);
}

void editor::Toolbar1_ButtonClick(EventArgs& args) {
  if (args.itemKey == "open") {
    open_Click();
  } else if (args.itemKey == "save") {
    save_Click();
  } else if (args.itemKey == "print") {
    Print_Click();
  } else if (args.itemKey == "stop") {
    session.Close(kPanel);
  }
}

}  // namespace vexmor
