// Listing an open folder for the tree walks: names with the type the folder
// itself records, so that most items need no stat of their own.
#pragma once

#include <string>
#include <vector>

namespace ViewConst::detail {

struct FolderEntry {
  std::string name;
  unsigned char type;  // DT_REG, DT_DIR, DT_LNK, ... or DT_UNKNOWN
};

// The entries of the open folder `dirfd`, "." and ".." left out, sorted by
// name as the item numbers run. Reads through the descriptor's own position.
std::vector<FolderEntry> ListFolder(int dirfd);

// The process's umask, read without changing it.
unsigned ProcessUmask();

}  // namespace ViewConst::detail
