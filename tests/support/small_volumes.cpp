#include "support/small_volumes.h"

#include <sys/mount.h>

#include <filesystem>

namespace ostrel::test {

int SmallVolumes::Mount(const std::string& dir, size_t kib) {
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  const std::string options = "size=" + std::to_string(kib) + "k,mode=0755";
  if (mount("tmpfs", dir.c_str(), "tmpfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, options.c_str()) != 0) return errno;
  mounted_.push_back(dir);
  return 0;
}

void SmallVolumes::UnmountAll() {
  // The latest first: a volume may lie inside an earlier one.
  for (auto it = mounted_.rbegin(); it != mounted_.rend(); ++it)
    if (umount2(it->c_str(), 0) != 0) umount2(it->c_str(), MNT_DETACH);  // still busy: let it go when free
  mounted_.clear();
}

}  // namespace ostrel::test
