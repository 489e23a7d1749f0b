// Removal through folder descriptors: every step names its item relative to
// a folder already open, and no link on the way is followed.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "cleanup/cleanup.h"

namespace ostrel::cleanup {
namespace {

std::vector<std::string> Names(int folder) {
  std::vector<std::string> names;
  const int listing = dup(folder);
  DIR* d = listing >= 0 ? fdopendir(listing) : nullptr;
  if (!d) {
    if (listing >= 0) close(listing);
    return names;
  }
  while (dirent* e = readdir(d)) {
    const std::string n = e->d_name;
    if (n != "." && n != "..") names.push_back(n);
  }
  closedir(d);
  return names;
}

void RemoveAt(int parent, const std::string& name, dev_t device) {
  struct stat st;
  if (fstatat(parent, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (!S_ISDIR(st.st_mode)) {
    unlinkat(parent, name.c_str(), 0);
    return;
  }
  if (st.st_dev != device) return;
  // A folder we may not read or change is opened up to its owner first.
  if ((st.st_mode & 0700) != 0700) fchmodat(parent, name.c_str(), (st.st_mode & 07777) | 0700, 0);
  const int fd = openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return;
  for (const std::string& child : Names(fd)) RemoveAt(fd, child, device);
  close(fd);
  unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

}  // namespace

void RemoveTree(const std::string& given) {
  std::string path = given;
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash + 1 == path.size()) return;
  const std::string name = path.substr(slash + 1);
  if (name == "." || name == "..") return;
  const int parent = open(slash == 0 ? "/" : path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (parent < 0) return;
  struct stat st;
  if (fstatat(parent, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) RemoveAt(parent, name, st.st_dev);
  close(parent);
}

}  // namespace ostrel::cleanup
