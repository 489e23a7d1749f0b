#include "fileutil/tree_listing.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace ViewConst::detail {
namespace {

// The kernel's record; glibc declares no getdents64 before 2.30 and no
// struct for it at all.
struct KernelDirent {
  uint64_t ino;
  int64_t off;
  unsigned short reclen;
  unsigned char type;
  char name[];
};

}  // namespace

std::vector<FolderEntry> ListFolder(int dirfd) {
  std::vector<FolderEntry> entries;
  // Straight from the descriptor: no duplicate and no DIR stream to set up.
  alignas(8) char buffer[32768];
  for (;;) {
    const long n = syscall(SYS_getdents64, dirfd, buffer, sizeof buffer);
    if (n <= 0) break;
    for (long at = 0; at < n;) {
      const auto* d = reinterpret_cast<const KernelDirent*>(buffer + at);
      at += d->reclen;
      if (d->name[0] == '.' && (d->name[1] == '\0' || (d->name[1] == '.' && d->name[2] == '\0'))) continue;
      entries.push_back({d->name, d->type});
    }
  }
  std::sort(entries.begin(), entries.end(), [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  return entries;
}

unsigned ProcessUmask() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("Umask:", 0) == 0) return static_cast<unsigned>(std::strtoul(line.c_str() + 6, nullptr, 8));
  const mode_t mask = umask(022);  // no /proc: the old way, briefly changing it
  umask(mask);
  return mask;
}

}  // namespace ViewConst::detail
