#include "framework/folder_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace fw {
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

bool AddModeAt(int dirfd, const char* name, mode_t bits) {
  struct stat st;
  if (fstatat(dirfd, name, &st, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(st.st_mode)) return false;
  // With AT_SYMLINK_NOFOLLOW the C library checks the item it changes, so a
  // link swapped in after the look above is refused rather than followed.
  if (fchmodat(dirfd, name, (st.st_mode & 07777) | bits, AT_SYMLINK_NOFOLLOW) == 0) return true;
  if (errno != ENOTSUP && errno != EOPNOTSUPP) return false;
  // A system without that support (no /proc): change the mode through a
  // descriptor that O_NOFOLLOW guarantees is not a link. Only folders and
  // plain files are opened, so no device or pipe is touched by the open.
  if (!S_ISDIR(st.st_mode) && !S_ISREG(st.st_mode)) return false;
  const int flags = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (S_ISDIR(st.st_mode) ? O_DIRECTORY : 0);
  const int fd = openat(dirfd, name, flags);
  if (fd < 0) return false;
  struct stat now;
  const bool ok = fstat(fd, &now) == 0 && now.st_ino == st.st_ino && now.st_dev == st.st_dev &&
                  fchmod(fd, (now.st_mode & 07777) | bits) == 0;
  close(fd);
  return ok;
}

}  // namespace fw
