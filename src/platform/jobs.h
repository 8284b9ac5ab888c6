#pragma once
// Starting outside programs and job scripts, without waiting for them, and
// reaping them when they end. Both platforms start jobs through here.
#include <chrono>
#include <string>
#include <vector>

namespace vexmor {

struct ShellCommand {
  std::vector<std::string> argv;  // program and its arguments, ready to start
  bool closeAtEnd = false;        // the command had the interpreter prefix in front
  bool isScript = false;          // a .bat job script, run by the batch runner
};

// The interpreter prefix that makes a job window close at its end.
inline constexpr const char* kInterpreterPrefix = "command.com /c ";

// Reads a Shell command line: the interpreter prefix, a program or a .bat
// script (run by our batch runner, found in programFolder), its arguments.
// A program named without a folder is looked for in programFolder.
ShellCommand ParseShellCommand(const std::string& commandLine, const std::string& programFolder);

// The terminal program that can show a job's window: $VEXMOR_TERMINAL, else
// x-terminal-emulator, xterm, konsole, urxvt on the PATH, when a display is
// there. Empty when the desktop has none (the job then runs hidden), when
// Qt draws off screen, or with VEXMOR_TERMINAL=none.
std::string FindTerminal();

// The command that starts a parsed Shell command with a window style:
// a .bat script with style other than 0 runs in a terminal window when there
// is one; without the interpreter prefix the window stays until the user
// closes it (the runner waits for Enter at the end). Anything else as it is.
std::vector<std::string> JobCommand(const ShellCommand& command, int style);

// Starts the program (standard input from /dev/null, standard output to our
// standard error, so that a transcript on standard output stays clean).
// Gives its process id, 0 if it could not be started. A window program is
// one that waits for a user (a viewer, a tool's window), not a job.
int StartJob(const std::vector<std::string>& argv, bool window = false);

// Jobs are reaped as they end, by a thread that waits for each; this is
// kept for callers that poll and does nothing more.
void ReapJobs();
// Waits for every job started here. Without a screen (no display named, or
// Qt drawing off screen) a window program still running kWindowGrace after
// the wait began is ended, with a line on standard error: nobody could
// close it, and a run must end.
void WaitForJobs();
inline constexpr std::chrono::seconds kWindowGrace{5};
// How many started jobs have not been reaped.
int RunningJobs();
// Whether the job of that task number (as StartJob gave it) still runs.
bool JobRunning(int task);

// Name of our batch runner, beside the other programs.
inline constexpr const char* kBatchRunner = "vexmor-bat";

}  // namespace vexmor
