// What the tree walks (copy, removal, the clean-up program's removal) need
// of one open folder: its entries, and a mode bit added to an item in it,
// neither of which ever follows a symbolic link.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace fw {

struct FolderEntry {
  std::string name;
  unsigned char type;  // DT_REG, DT_DIR, DT_LNK, ... or DT_UNKNOWN
};

// The entries of the open folder `dirfd`, "." and ".." left out, sorted by
// name as the item numbers run. Reads through the descriptor's own position.
std::vector<FolderEntry> ListFolder(int dirfd);

// The item `name` in the open folder `dirfd` (or AT_FDCWD) gains the mode
// bits `bits`; its other bits stay. A link keeps its own mode and its target
// is left alone. Answers whether the mode was set.
bool AddModeAt(int dirfd, const char* name, mode_t bits);

}  // namespace fw
