#include "support/tree_snapshot.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace ostrel::test {

namespace fs = std::filesystem;

Tree TreeOf(const std::string& folder) {
  Tree tree;
  std::error_code ec;
  if (!fs::is_directory(fs::symlink_status(folder, ec))) return tree;
  for (auto it = fs::recursive_directory_iterator(folder, ec); it != fs::recursive_directory_iterator(); ++it) {
    const std::string rel = it->path().lexically_relative(folder).string();
    if (it->is_symlink()) {
      tree[rel] = "-> " + fs::read_symlink(it->path()).string();
    } else if (it->is_directory()) {
      tree[rel] = "<dir>";
    } else {
      std::ifstream in(it->path(), std::ios::binary);
      std::ostringstream bytes;
      bytes << in.rdbuf();
      tree[rel] = bytes.str();
    }
  }
  return tree;
}

}  // namespace ostrel::test
