// Files and folders of the stub's own that lie among the user's: the part
// file of a copy or a rewrite, the staging folder of an installation. Each
// has a hidden name that no user picks, ".ostrel-<pid>.<start>-<n>" and a
// suffix, made from the process that creates it (its id and its start time,
// so that a reused id is not mistaken for it), and is created exclusively:
// nothing of the user's is ever taken for one. What a process left behind
// when it was killed is told apart by the name, once that process is gone.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace fw {

// The name for a new item of this process, unique within it.
std::string NewOwnName(const std::string& suffix);

// Creates a new file with an own name in the open folder `dirfd` (AT_FDCWD
// for the current one), for writing; the descriptor, or -1 with errno set.
int CreateOwnFileAt(int dirfd, const std::string& suffix, mode_t mode, std::string& name);

// Creates a new folder with an own name inside `folder`; its path, or empty
// with errno set.
std::string CreateOwnFolder(const std::string& folder, const std::string& suffix, mode_t mode = 0700);

// Whether `name` is an own name, of any process.
bool IsOwnName(const std::string& name);

// The own items directly inside `folder` whose process is no longer running.
std::vector<std::string> LeftOwnItems(const std::string& folder);

// Renames without replacing anything at `to`: 0, or the errno (EEXIST when
// something lies there).
int RenameNoReplace(const std::string& from, const std::string& to);

}  // namespace fw
