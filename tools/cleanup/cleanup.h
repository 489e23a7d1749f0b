// The clean-up program that a setup starts as its last act. Unpacked into
// the user's temporary folder as "PostInstallCleanup.app", it reads the
// instruction "PostInstallCleanup.data" beside its bundle, waits for the
// installer to end, deletes the setup bundle or the folder that holds it,
// and then removes itself. It shows nothing, never asks, and refuses in
// silence what it must not delete.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace ostrel::cleanup {

struct Instruction {
  enum class Kind { None, DeleteFile, DeleteFolder };
  Kind kind = Kind::None;
  std::string path;
};

// "DeleteFile=<path>" or "DeleteFolder=<path>"; anything else asks for nothing.
Instruction ParseInstruction(const std::string& text);

// Whether the instruction may be carried out. "DeleteFile=" names a bundle
// (a real folder whose name ends in ".app") or a plain file;
// "DeleteFolder=" a real folder that still holds the bundle that was
// started, known by its Data3 being the archive `ownArchive` came from. A
// kept folder (`kept`: the home folder, the standard folders, ... and all
// above them), the root and mount points are never deleted.
bool MayCarryOut(const Instruction& instruction, const std::string& ownArchive,
                 const std::vector<std::string>& kept);

// Waits until no process runs from inside `path` (its program, its working
// folder or a file it holds open lies there), at most `limit`.
void WaitForProcessesInside(const std::string& path, std::chrono::milliseconds limit);

// Removes a file, or a folder with all it holds; a link is removed as a
// link, never followed, and another file system mounted inside is left.
void RemoveTree(const std::string& path);

// The whole run of the clean-up program whose bundle is `ownBundle`
// ("<folder>/PostInstallCleanup.app"): the instruction carried out when it
// may be, then the bundle, its ".zip" and its ".data" removed.
void RunCleanup(const std::string& ownBundle, const std::vector<std::string>& kept,
                std::chrono::milliseconds waitLimit);

}  // namespace ostrel::cleanup
