#pragma once
// Paths on this system. The field files come from machines whose names are
// case-blind, so an existing file is found whatever the letter case of its
// name, and a program named "X.EXE" finds our "x".
#include <cstdint>
#include <string>
#include <string_view>

namespace vexmor {

inline constexpr char kSep = '/';

// The existing file that the path names: the path itself when it exists,
// else a name in the same folder that differs only in letter case, else for
// a ".exe" name the same without it. The path unchanged when none exists.
std::string ResolveExisting(const std::string& path);

// The existing plain file that the path names, opened for reading; its size
// in `size`. The open never waits (a named pipe with no writer would hold it
// for ever); a folder, a device or a pipe is refused with the path, as no
// file of a known end. The caller closes the descriptor.
int OpenPlainFile(const std::string& path, int64_t& size);

// 1 if a plain file of that name exists (as ResolveExisting finds it), else
// 0. A name with wildcards counts as existing if anything matches it.
int FileExists(const std::string& path);

// Folder of the path up to and including its last separator; with no
// separator, its first two characters.
std::string FolderOf(const std::string& path);

// The path with its last three characters replaced (LINE1.DAT -> LINE1.SU).
std::string ReplaceLastThree(const std::string& path, std::string_view with);

// The folder of the running program, without a closing separator.
std::string RunningProgramFolder();

// Our work folder, with its closing separator, created on demand:
// $VEXMOR_WORKDIR when set, else vexmor/ under $XDG_CACHE_HOME (or ~/.cache).
// Job scripts and temporary files that would otherwise go to the program's
// folder or the root of a drive live here. Empty if it can't be created.
std::string WorkFolder();

// Whether the name holds wildcards.
bool HasWildcards(std::string_view name);

// Whether both paths name one existing file (through links, and letter case
// as ResolveExisting finds it). False when either does not exist.
bool SameExistingFile(const std::string& a, const std::string& b);

}  // namespace vexmor
