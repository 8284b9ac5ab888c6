#pragma once
// The small desktop window of seg2su: choose SEG-2 files and the output,
// convert with a progress bar, and a final message.
#include <string>
#include <vector>

// Runs the window until it is closed. With a screenshot path it draws the
// window to that picture (the files already in the list) and ends; with an
// output too, it first presses Convert and draws the final message to the
// same name with "-message" added.
int RunSeg2SuWindow(int argc, char** argv, const std::string& screenshot, const std::vector<std::string>& files,
                    const std::string& output = "");
