// Opening items to every user, by system call: the same effect as
// "chmod ugo+rwx", with no process started and no link followed.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "dialogs/globals_kv.h"
#include "fileutil/full_access.h"
#include "fileutil/view_const.h"

namespace ViewConst {
namespace detail {

bool AddFullAccessAt(int dirfd, const char* name) {
  struct stat st;
  if (fstatat(dirfd, name, &st, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(st.st_mode)) return false;
  const mode_t mode = (st.st_mode & 07777) | 0777;
  // With AT_SYMLINK_NOFOLLOW the C library checks the item it changes, so a
  // link swapped in after the look above is refused rather than followed.
  if (fchmodat(dirfd, name, mode, AT_SYMLINK_NOFOLLOW) == 0) return true;
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
                  fchmod(fd, (now.st_mode & 07777) | 0777) == 0;
  close(fd);
  return ok;
}

}  // namespace detail

void AllUsersFullAccess(const std::string& path) { AllUsersFullAccessOnMac(GlobalsKv::MyGetFolderItem(path)); }

void AllUsersFullAccessOnMac(const std::optional<fw::FolderItem>& item) {
  if (!item || item->NativePath().empty()) return;
  detail::AddFullAccessAt(AT_FDCWD, item->NativePath().c_str());
}

}  // namespace ViewConst
