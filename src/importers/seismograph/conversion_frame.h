#pragma once
// The frame around a conversion of the seismograph importers: busy pointer,
// progress bar, the limit of 99 records, the one message for a run-time
// failure, and the output opened without being emptied.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "core/binary_file.h"

namespace vexmor {

class Control;
class Platform;

// Thrown by a conversion that has told the user why it stops (a bad
// parameter found on the way); the frame then only ends it.
struct ConversionStopped {};

// "File conversion error N° " followed by the number text (one blank of its
// own for the number, so two blanks stand behind N°).
std::string ConversionErrorText(int number);

// Runs the conversion with the busy pointer on the panel. A run-time
// failure ends it with the error message (followed by `failureTail`, which
// some panels add) and the normal pointer; the files it opened are closed
// by then, and the output keeps what was written. True when it ran to its
// end; the caller shows its own final message.
bool RunConversion(Platform& platform, const std::string& panel, const std::function<void()>& body,
                   std::string_view failureTail = {});

// The output, made if missing and never emptied: an existing file is
// written over from its start and keeps its tail. A name that cannot be a
// file (empty, blanks, wildcards: a cancelled dialog) is a run-time failure.
BinaryFile OpenOutput(const std::string& path);

// More than 99 files: "Maximum 99 records" once, and 99 files.
int16_t LimitTo99Records(int16_t nbFiles, Platform& platform);

// Shows the bar with minimum 1, the maximum, and the value 1.
void StartProgress(Control& bar, int max);

// The final message of most importers.
inline constexpr const char* kConversionDone = "OK, Conversion done";

}  // namespace vexmor
