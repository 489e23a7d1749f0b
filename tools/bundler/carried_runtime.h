// The runtime a self-contained bundle carries: every library the stub loads
// beyond the receiver's base system, and the Qt plugins a run loads, so that
// the bundle runs on a machine where neither Qt nor the archive libraries
// are installed.
#pragma once

#include <string>
#include <vector>

namespace ostrel::bundler {

// True when a library of this name is part of the base system every
// receiver has (the C and C++ runtimes, zlib, the X11 and xcb core,
// fontconfig, freetype, GLib, D-Bus, the GL dispatch libraries, and what
// those packages bring with them). Such a library is never carried: the C
// runtime and the GL drivers must be the receiver's own.
bool InBaseSystem(const std::string& soname);

// The names a shared object needs (DT_NEEDED), read from its dynamic
// section; throws std::runtime_error for a file that is not a 64-bit ELF.
std::vector<std::string> NeededLibraries(const std::string& elfFile);

// The run path an executable was linked with (DT_RPATH or DT_RUNPATH), or "".
std::string LinkedRunPath(const std::string& elfFile);

bool IsElfFile(const std::string& file);

// Writes a copy of `program` to `destination` (mode 0755); an ELF program
// goes stripped of its symbols and debug information, so that no path of
// the build machine goes out with the bundle (a script is copied as it is).
// Throws std::runtime_error when `strip` fails.
void CopyProgram(const std::string& program, const std::string& destination);

// Copies into `contents` ("<bundle>/Contents") the libraries that `stub`
// needs beyond the base system into Frameworks/, and the Qt plugins a run
// loads into PlugIns/<kind>/, with what they need in turn. Throws BadInput
// when the stub was not linked to look in Frameworks, std::runtime_error
// when a library cannot be found or copied. Answers the carried files,
// relative to `contents`.
std::vector<std::string> CarryRuntime(const std::string& stub, const std::string& contents);

}  // namespace ostrel::bundler
