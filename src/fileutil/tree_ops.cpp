// Whole trees: removal of a folder or bundle, and the copies of a file or a
// folder with its content.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "dialogs/globals_kv.h"
#include "fileutil/full_access.h"
#include "fileutil/view_const.h"

namespace ViewConst {
namespace {

// The names in an open folder, sorted, so that the walk runs from the last
// to the first as the item numbers would.
std::vector<std::string> SortedNames(int dirfd) {
  std::vector<std::string> names;
  const int listing = dup(dirfd);
  if (listing < 0) return names;
  DIR* d = fdopendir(listing);
  if (!d) {
    close(listing);
    return names;
  }
  while (dirent* e = readdir(d)) {
    const std::string n = e->d_name;
    if (n != "." && n != "..") names.push_back(n);
  }
  closedir(d);
  std::sort(names.begin(), names.end());
  return names;
}

// Removes `name` in the open folder `parent`. Everything goes through
// descriptors with O_NOFOLLOW: a link is removed as a link, and one swapped
// in for a folder during the walk cannot lead the removal out of the tree.
void RemoveAt(int parent, const std::string& name) {
  struct stat st;
  if (fstatat(parent, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (!S_ISDIR(st.st_mode)) {
    // A file's own mode does not matter to its removal, and changing it
    // would reach any other hard link to it.
    unlinkat(parent, name.c_str(), 0);
    return;
  }
  // A read-only folder is opened to everyone first, so that it can be
  // listed and emptied.
  detail::AddFullAccessAt(parent, name.c_str());
  const int dir = openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (dir >= 0) {
    const auto names = SortedNames(dir);
    for (auto it = names.rbegin(); it != names.rend(); ++it) RemoveAt(dir, *it);
    close(dir);
  }
  unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

bool IsCopyableKind(const fw::FolderItem& item) {
  struct stat st;
  return stat(item.NativePath().c_str(), &st) == 0 && (S_ISREG(st.st_mode) || S_ISDIR(st.st_mode));
}

// The folders being copied from and into on the way down: a link that leads
// back to one of them, or a destination inside its source, would otherwise
// copy without end.
using Ancestors = std::set<std::pair<dev_t, ino_t>>;

bool CopyFolderWithin(const std::string& source, const std::string& destination, Ancestors& ancestors) {
  bool ok = true;
  auto from = GlobalsKv::MyGetFolderItem(source);
  auto to = GlobalsKv::MyGetFolderItem(destination);
  if (!from || !to) return false;
  struct stat self{};
  const bool isFolder = stat(from->NativePath().c_str(), &self) == 0 && S_ISDIR(self.st_mode);
  const bool tracked = isFolder && ancestors.insert({self.st_dev, self.st_ino}).second;
  if (isFolder && !tracked) return ok;  // a loop back into the copy

  to->CreateAsFolder();
  // The code read is the source's, as the callers expect: creating over an
  // existing destination is no failure of the copy.
  if (from->LastErrorCode() != 0) ok = false;
  std::string base = MyAbsolutePath(*to);
  // When the destination could not become a folder, the children still go
  // below it (and fail there), never beside it under a glued name.
  if (!base.empty() && base.back() != '/') base += '/';
  // A destination inside the source is not copied into itself.
  struct stat made{};
  const bool madeTracked = stat(to->NativePath().c_str(), &made) == 0 && S_ISDIR(made.st_mode) &&
                           ancestors.insert({made.st_dev, made.st_ino}).second;

  for (int i = from->Count(); i >= 1; --i) {
    const auto child = from->Item(i);
    if (!child || !IsCopyableKind(*child)) continue;  // a broken link, a pipe, a device
    const std::string childDestination = base + child->Name();
    if (child->Directory()) {
      if (!CopyFolderWithin(MyAbsolutePath(*child), childDestination, ancestors)) ok = false;
    } else {
      if (const auto target = GlobalsKv::MyGetFolderItem(childDestination)) child->CopyFileTo(*target);
      if (from->LastErrorCode() != 0) ok = false;
    }
  }
  if (tracked) ancestors.erase({self.st_dev, self.st_ino});
  if (madeTracked) ancestors.erase({made.st_dev, made.st_ino});
  return ok;
}

// The common road of CopyFile and CopyFileB; `replaceFolder` is the B form's
// removal of a destination folder that a plain delete leaves standing.
bool CopyItem(const std::string& source, const std::string& destination, bool replaceFolder) {
  auto from = GlobalsKv::MyGetFolderItem(source);
  auto to = GlobalsKv::MyGetFolderItem(destination);
  if (!from || !to) return false;
  if (to->Exists()) {
    to->Delete();
    if (replaceFolder && to->Exists()) DeleteFolderOrApp(destination);
  }
  if (from->Exists() && !IsCopyableKind(*from)) return false;
  from->CopyFileTo(*to);
  bool ok = from->LastErrorCode() == 0;
  // The plain form trusts a destination of the source's length even when the
  // copy reported an error.
  if (!ok && !replaceFolder) ok = to->Exists() && to->Length() == from->Length();
  if (!ok) return false;
  return CopyFolder(source, destination);
}

}  // namespace

void DeleteFolderOrApp(const std::string& path) {
  const auto item = GlobalsKv::MyGetFolderItem(path);
  if (!item) return;
  const fw::FolderItem parent = item->Parent();
  const std::string name = item->Name();
  // The root has no name in a parent to remove it by.
  if (parent.NativePath().empty() || name.empty() || name == "/" || name == "." || name == "..") return;
  const int dir = open(parent.NativePath().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return;
  RemoveAt(dir, name);
  close(dir);
}

bool CopyFolder(const std::string& source, const std::string& destination) {
  Ancestors ancestors;
  return CopyFolderWithin(source, destination, ancestors);
}

bool CopyFile(const std::string& source, const std::string& destination) { return CopyItem(source, destination, false); }

bool CopyFileB(const std::string& source, const std::string& destination) { return CopyItem(source, destination, true); }

}  // namespace ViewConst
