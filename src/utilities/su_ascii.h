#pragma once
// SU to ASCII exports, run in place from MainPanel: the samples of an SU file
// as text, for spreadsheets and other programs. Both talk to the user through
// the platform's message box, file dialog and prompts only.
#include <cstdint>
#include <string>

namespace vexmor {

class Session;
struct SharedState;

// One text file for each channel: "<SU path minus 2 characters>NN", one
// sample a line, NN counting 01, 02, ... along the run (00 on the hundredth).
void su2ascii2(Session& session);
// One column file with all the traces asked for: "<SU path minus 3
// characters>.txt", a line per sample number, every value followed by a comma.
void su2Ascii(Session& session);

// Traces and channels of an SU file, as CountChannels gives them, with two
// differences of its own: it reads ns and dt itself (dt into SampleInterval),
// and it counts the traces with the trace size held in 16 bits. When that
// size does not fit (ns above 8131) no count can be given: both are 0.
void Calcul_Channel(const std::string& path, int32_t& traceCount, int16_t& channels, SharedState& state);

// A sample as "0.00000000E+00": one digit, the point, eight digits, E, the
// sign and two digits; the minus sign in front of a negative value. Writes
// at most 16 characters at out and gives their count.
int FormatSample(float value, char* out);

}  // namespace vexmor
