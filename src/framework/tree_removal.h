// Removing an item with everything inside, for the installer's file layer
// and the clean-up program alike. Which items may be removed at all is the
// callers' concern (protected_folders.h); this only never leaves the tree.
#pragma once

#include <sys/types.h>

#include <string>

namespace fw {

// Removes the item `name` in the open folder `parentFd`: a file or a link
// as itself, a folder with all it holds. No link is followed, and another
// file system mounted inside the tree is left whole with the folders that
// lead to it. Each folder gains the mode bits `openUp` before it is emptied
// (a folder the user may not change cannot be emptied). What cannot be
// removed stays; nothing is reported.
void RemoveTreeAt(int parentFd, const std::string& name, mode_t openUp);

}  // namespace fw
