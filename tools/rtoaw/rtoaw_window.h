#pragma once
// The small desktop window of rtoaw: choose a DZT file and the text to
// write, convert with a progress bar, and a final message that gives the
// samples per scan to remember.
#include <string>

// Runs the window until it is closed; with a screenshot path, draws it to
// that picture (with `input` chosen) and ends.
int RunRtoawWindow(int argc, char** argv, const std::string& screenshot, const std::string& input);
