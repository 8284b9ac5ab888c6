#pragma once
// SU to ASCII exports, run in place from MainPanel.
namespace vexmor {
class Session;
// One text file for each channel.
void su2ascii2(Session& session);
// One column file with all the channels.
void su2Ascii(Session& session);
}  // namespace vexmor
