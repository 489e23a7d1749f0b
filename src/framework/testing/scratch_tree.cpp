#include "framework/testing/scratch_tree.h"

#include <sys/stat.h>

#include <system_error>

namespace fw::testing {

void RemoveScratchTree(const std::filesystem::path& p) {
  std::error_code ec;
  if (std::filesystem::is_directory(std::filesystem::symlink_status(p, ec))) {
    chmod(p.c_str(), 0700);
    for (auto& e : std::filesystem::directory_iterator(p, ec)) RemoveScratchTree(e.path());
  }
  std::filesystem::remove(p, ec);
}

}  // namespace fw::testing
