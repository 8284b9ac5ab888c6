#pragma once
// Every way a panel reaches the user and the machine. A conversion runs the
// same behind the desktop (QtPlatform) and without a screen
// (HeadlessPlatform).
#include <optional>
#include <string>

namespace vexmor {

// Message box buttons codes and answers.
namespace buttons {
inline constexpr int kOk = 0;
inline constexpr int kOkCancel = 1;
inline constexpr int kCritical = 16;
inline constexpr int kQuestionOkCancel = 33;
inline constexpr int kQuestionYesNo = 36;
inline constexpr int kExclamation = 48;
inline constexpr int kInformation = 64;
}  // namespace buttons
namespace answers {
inline constexpr int kOk = 1;
inline constexpr int kCancel = 2;
inline constexpr int kYes = 6;
inline constexpr int kNo = 7;
}  // namespace answers

// The answer a user who just presses Enter gives to a box of these buttons.
int FirstButtonOf(int buttonsCode);

struct FileRequest {
  std::string folder;    // start folder, may be empty
  std::string title;
  std::string filter;    // "SU File |*.SU|All files|*.*|"
  std::string fileName;  // preset name, also the answer of a cancel
  bool multi = false;
  bool save = false;
  bool mustExist = false;  // only an existing file can be chosen
};

// A font as the font dialog offers it.
struct TextFont {
  std::string name = "Arial";
  double size = 10;  // points
  bool bold = false;
  bool italic = false;
  bool underline = false;
  bool strikethrough = false;
  bool operator==(const TextFont&) const = default;
};

// What goes to the printer: the text (the selection, or all of it) and the
// font it is shown in. With a selection the dialog offers the selection,
// else all pages; it never asks for page numbers.
struct PrintJob {
  std::string text;
  bool selection = false;
  TextFont font;
};

class Platform {
 public:
  virtual ~Platform() = default;

  // Blocks until answered; gives 1 OK, 2 Cancel, 6 Yes, 7 No. An empty title
  // shows the system's name.
  virtual int MessageBox(const std::string& text, int buttonsCode, const std::string& title) = 0;
  // Blocks; Cancel gives an empty text.
  virtual std::string PromptValue(const std::string& prompt, const std::string& title,
                                  const std::string& defaultText) = 0;
  // The path chosen; with many files the folder followed by the names, single
  // blanks between. Cancel gives the preset name. A chosen file's folder
  // becomes the current folder of the process.
  virtual std::string ChooseFile(const FileRequest& request) = 0;
  // Starts the command without waiting; a task number, 0 if nothing could
  // be started. Styles: 0 hidden, 1 normal, 2 minimised.
  virtual int Shell(const std::string& commandLine, int style) = 0;
  // Starts a program shown normally; a number below 32 if it failed.
  virtual int ShellOpen(const std::string& ownerPanel, const std::string& verb, const std::string& program,
                        const std::string& folder) = 0;
  virtual void PumpEvents() = 0;
  // Seconds since midnight, local time.
  virtual double Clock() = 0;
  virtual void Beep() = 0;
  virtual void BusyPointer(bool on, const std::string& panel) = 0;
  // The key's text in the named INI file (looked for in the configuration
  // folders), or the default; at most room - 1 characters.
  virtual std::string ReadIniString(const std::string& section, const std::string& key,
                                    const std::string& defaultText, const std::string& iniFile, int room) = 0;
  // Folder of the running program, without a closing separator.
  virtual std::string ProgramFolder() = 0;
  // Closes the open message box of exactly that title, as if answered.
  virtual void CloseMessageNamed(const std::string& title) = 0;
  // Whether the task that Shell started still runs; never blocks. A panel
  // that watches its job asks this on a timer.
  virtual bool TaskRunning(int /*task*/) { return false; }
  // The font dialog (screen and printer fonts), preset on the font given:
  // the font chosen, nothing when cancelled.
  virtual std::optional<TextFont> ChooseFont(const TextFont& preset) = 0;
  // The print dialog, then the job on the printer chosen there; false when
  // the dialog was cancelled or nothing could be printed.
  virtual bool PrintText(const PrintJob& job) = 0;
};

// The system's name, shown as title where a message has none of its own.
inline constexpr const char* kSystemName = "Vexmor";
// The title most messages carry.
inline constexpr const char* kConverterTitle = "Norvane File converter";

}  // namespace vexmor
