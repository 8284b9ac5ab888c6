#pragma once
// The small desktop window of rtoaw: choose a DZT file and the text to
// write, convert with a progress bar, and a final message that gives the
// samples per scan to remember.
#include <string>

// Runs the window until it is closed. With a screenshot path it draws the
// window to that picture (with `input` chosen) and ends; with an output too,
// it first presses Convert and draws the final message to the same name with
// "-message" added.
int RunRtoawWindow(int argc, char** argv, const std::string& screenshot, const std::string& input,
                   const std::string& output = "", bool words = false);
