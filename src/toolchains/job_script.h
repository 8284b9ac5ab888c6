#pragma once
// Job scripts: the .bat texts that drive the Seismic Unix tools, written
// line by line and started through the platform's shell.
#include <string>
#include <vector>

#include "core/shared_state.h"
#include "platform/platform.h"

namespace vexmor {

// Writes the lines to the path, each followed by newLine (CR LF as the
// scripts want), replacing the file. False if it could not be written whole.
bool WriteJobScript(const std::string& path, const std::vector<std::string>& lines, const std::string& newLine);

// Starts the script: Shell with CommandPrefix + path in the given style.
// Gives the task number, 0 when nothing could be started. With a folder the
// job starts in it (files a tool makes without a folder then land there);
// a folder that can't be entered, or a relative script path, leaves the
// current one.
int StartJobScript(Platform& platform, const SharedState& state, const std::string& path, int style,
                   const std::string& folder = {});

}  // namespace vexmor
