#include "utilities/pick.h"

#include <optional>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/shared_state.h"
#include "importers/seismograph/selection.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command1", Button, "Select a file"},
    {"Text1", Text, "", "", " "},
    {"Text4", Text, "File size", "", " ", "", kLocked},
    {"Frame1", Frame, ""},
    {"Option1", Option, "SU", "", "", "Frame1", kSelected},
    {"Option2", Option, "SEG-Y", "", "", "Frame1"},
    {"Option3", Option, "Other", "", "", "Frame1"},
    {"Combo1", Combo},
    {"Frame2", Frame, "", "", "", "", kDisabled},
    {"Option4", Option, "Short int.", "", "", "Frame2", kSelected},
    {"Option5", Option, "Long int.", "", "", "Frame2"},
    {"Option6", Option, "word", "", "", "Frame2"},
    {"Option7", Option, "Float", "", "", "Frame2"},
    {"Text2", Text, "First bit  position", "", "0", "", kLocked},
    {"Text3", Text, "Word value", "", " ", "", kLocked},
    {"Check1", Check, "Swap bytes"},
    {"Command2", Button, "GO"},
    {"Command3", Button, " ?"},
    {"Command4", Button, "Edit File"},
};

constexpr EventRow<pick> kEvents[] = {
    {kFormEvents, "Load", Op<&pick::Form_Load>},
    {"Command1", "Click", Op<&pick::Command1_Click>},
    {"Option1", "Click", Op<&pick::Option1_Click>},
    {"Option2", "Click", Op<&pick::Option2_Click>},
    {"Option3", "Click", Op<&pick::Option3_Click>},
    {"Command2", "Click", Op<&pick::Command2_Click>},
    {"Command3", "Click", Op<&pick::Command3_Click>},
    {"Command4", "Click", Op<&pick::Command4_Click>},
};

constexpr const char* kPreset = "*.SU";
// The list opens on ns.
constexpr int kFirstItem = 38;
// Words past the SEG-Y trace header have no position in the list.
constexpr int kSegyTraceWords = 71;
constexpr int64_t kReelHeaderBytes = 3600;

constexpr const char* kHelpLines[] = {
    "How to use this module ? ",
    "You can read any value of a SU or SEG-Y seismic file ",
    " 1.- Select the word to display ",
    " 2.- Select the file type SU or SEG-Y",
    " 3.- click on GO",
    "The first bit of this word and the value are displayed ",
};

std::optional<BinaryFile> OpenForReading(const std::string& path) {
  try {
    return BinaryFile(path, BinaryFile::Mode::Read);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

// Bytes as text, one character each; what no screen can show is a point.
std::string ShownText(const uint8_t* bytes, size_t n) {
  std::string text;
  for (size_t k = 0; k < n; ++k) text += (bytes[k] >= 32 && bytes[k] < 127) ? static_cast<char>(bytes[k]) : '.';
  return text;
}

}  // namespace

std::span<const ControlDef> PickControls() { return kControls; }

std::string PickItemText(const SuWord& word) {
  // The list has always shown word 76 under the number 75.
  std::string text = std::to_string(word.number == 76 ? 75 : word.number);
  text.resize(4, ' ');
  return text + std::string(word.text);
}

pick::pick(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "pick", "Pick any header word", kControls) {
  BindEvents<pick>(form, *this, kEvents);
}

void pick::Form_Load() {
  for (const SuWord& word : SuWords()) Combo1.AddItem(PickItemText(word));
  Combo1.SetListIndex(kFirstItem);
  Text1.SetText(state.SuFile);
  ShowSize();
}

void pick::ShowSize() {
  SkipOnFailure([&] {
    const BinaryFile file(Text1.Text(), BinaryFile::Mode::Read);
    Text4.SetText(PlainDigits(static_cast<double>(file.Size())));
  });
}

void pick::Command1_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "Tarvix File selection";
  request.filter = "Seismic Unix (SU)|*.SU|SEG-Y files|*.SGY|All files|*.*|";
  request.fileName = kPreset;
  request.mustExist = true;
  const std::string answer = platform.ChooseFile(request);
  // A cancelled dialog hands back its preset: the file in hand stays.
  if (answer == kPreset) return;
  Text1.SetText(answer);
  state.SuFile = answer;
  ShowSize();
}

void pick::Option1_Click() { FileTypeChosen(true); }
void pick::Option2_Click() { FileTypeChosen(true); }
void pick::Option3_Click() { FileTypeChosen(false); }

void pick::FileTypeChosen(bool headerWords) {
  Frame2.SetEnabled(true);
  Combo1.SetEnabled(headerWords);
  Text2.SetLocked(headerWords);
}

void pick::Command2_Click() {
  if (Option3.Value()) {
    ReadAnyNumber();
  } else {
    ReadHeaderWord();
  }
}

void pick::ReadHeaderWord() {
  const int index = Combo1.ListIndex();
  if (index < 0 || index >= kSuWordCount) return;
  const SuWord& word = SuWords()[static_cast<size_t>(index)];
  if (word.number > kSegyTraceWords) {
    platform.MessageBox("Not possible", buttons::kOk, "");
    return;
  }
  const int64_t position = word.offset + 1 + (Option2.Value() ? kReelHeaderBytes : 0);
  std::optional<BinaryFile> file = OpenForReading(Text1.Text());
  // A value that can't be read shows 0.
  if (word.width == 2) {
    int16_t value = 0;
    if (file) value = file->ReadI16(position - 1);
    if (Check1.Value()) value = SwapBytes16(value);
    Text3.SetText(NumberText(value));
    Text2.SetText(NumberText(static_cast<double>(position)));
    Option4.SetValue(true);
  } else {
    if (Check1.Value()) platform.MessageBox("Not available", buttons::kCritical, "");
    int32_t value = 0;
    if (file) value = file->ReadI32(position - 1);
    Text3.SetText(NumberText(value));
    Text2.SetText(NumberText(static_cast<double>(position)));
    Option5.SetValue(true);
  }
}

void pick::ReadAnyNumber() {
  if (Text1.Text().size() < 4) return;
  std::optional<BinaryFile> file = OpenForReading(Text1.Text());
  int64_t position = 0;
  SkipOnFailure([&] { position = TextToInt32(Text2.Text()); });
  // Position 1 is the first byte; before it nothing can be read. Bytes past
  // the end of the file read as 0.
  const bool readable = file && position >= 1;
  const int64_t at = position - 1;
  if (Option6.Value()) {
    uint8_t bytes[kPickTextBytes] = {};
    const size_t got = readable ? file->Read(at, bytes, sizeof bytes) : 0;
    Text3.SetText(ShownText(bytes, got));
  } else if (Option5.Value()) {
    Text3.SetText(NumberText(readable ? file->ReadI32(at) : 0));
  } else if (Option7.Value()) {
    Text3.SetText(NumberTextOfSingle(readable ? file->ReadF32(at) : 0.0f));
  } else {
    Text3.SetText(NumberText(readable ? file->ReadI16(at) : 0));
  }
}

void pick::Command3_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text;
  for (const char* line : kHelpLines) text += line + newLine;
  platform.MessageBox(text, buttons::kInformation, kConverterTitle);
}

void pick::Command4_Click() {
  state.EditorFile = Text1.Text();
  session.Open("editor");
}

}  // namespace vexmor
