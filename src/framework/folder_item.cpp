#include "framework/folder_item.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

#include "framework/file_copy.h"
#include "framework/protected_folders.h"

namespace fw {

FolderItem::FolderItem(std::string nativePath) : path_(std::move(nativePath)) {
  // One trailing separator names the same item; keep the root as it is.
  while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
}

std::string FolderItem::ShellPath() const {
  std::string r = "'";
  for (char c : path_) r += (c == '\'') ? std::string("'\\''") : std::string(1, c);
  return r + "'";
}

std::string FolderItem::Name() const {
  if (path_ == "/") return "/";
  const auto slash = path_.rfind('/');
  return slash == std::string::npos ? path_ : path_.substr(slash + 1);
}

bool FolderItem::Exists() const {
  struct stat st;
  return !path_.empty() && lstat(path_.c_str(), &st) == 0;
}

bool FolderItem::Directory() const {
  struct stat st;
  return !path_.empty() && stat(path_.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool FolderItem::Alias() const {
  struct stat st;
  return !path_.empty() && lstat(path_.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

int64_t FolderItem::Length() const {
  struct stat st;
  if (path_.empty() || stat(path_.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return 0;
  return st.st_size;
}

bool FolderItem::IsWriteable() const { return !path_.empty() && access(path_.c_str(), W_OK) == 0; }

// Linux file browsers hide a name that starts with "." and the names listed
// in a ".hidden" file of the same folder; the latter keeps the name intact.
bool FolderItem::Visible() const {
  const std::string name = Name();
  if (!name.empty() && name[0] == '.') return false;
  std::ifstream hidden(Parent().NativePath() + "/.hidden");
  std::string line;
  while (std::getline(hidden, line))
    if (line == name) return false;
  return true;
}

void FolderItem::SetVisible(bool visible) {
  if (visible == Visible()) return;
  if (Parent().NativePath().empty()) {
    lastError_ = ENOENT;
    return;
  }
  const std::string list = Parent().NativePath() + "/.hidden";
  const std::string name = Name();
  std::vector<std::string> names;
  {
    std::ifstream in(list);
    std::string line;
    while (std::getline(in, line))
      if (line != name && !line.empty()) names.push_back(line);
  }
  if (!visible) names.push_back(name);
  // A list left empty has nothing to say: it goes.
  if (names.empty()) {
    lastError_ = unlink(list.c_str()) == 0 || errno == ENOENT ? 0 : errno;
    return;
  }
  std::ofstream out(list, std::ios::trunc);
  for (auto& n : names) out << n << '\n';
  lastError_ = out ? 0 : EIO;
}

const std::vector<std::string>& FolderItem::Children() const {
  if (!children_) {
    children_ = std::make_shared<std::vector<std::string>>();
    if (DIR* d = opendir(path_.c_str())) {
      while (dirent* e = readdir(d)) {
        const std::string n = e->d_name;
        if (n != "." && n != "..") children_->push_back(n);
      }
      closedir(d);
      std::sort(children_->begin(), children_->end());
    }
  }
  return *children_;
}

int FolderItem::Count() const { return Directory() ? static_cast<int>(Children().size()) : 0; }

std::unique_ptr<FolderItem> FolderItem::TrueItem(int i) const {
  const auto& c = Children();
  if (i < 1 || i > static_cast<int>(c.size())) return nullptr;
  return std::make_unique<FolderItem>(Child(c[i - 1]));
}

std::unique_ptr<FolderItem> FolderItem::Item(int i) const {
  auto item = TrueItem(i);
  if (item && item->Alias()) {
    char resolved[PATH_MAX];
    if (!realpath(item->NativePath().c_str(), resolved)) return nullptr;
    return std::make_unique<FolderItem>(resolved);
  }
  return item;
}

FolderItem FolderItem::Child(const std::string& name) const {
  return FolderItem(path_ == "/" ? "/" + name : path_ + "/" + name);
}

FolderItem FolderItem::Parent() const {
  const auto slash = path_.rfind('/');
  // Only an absolute path has a parent here; a relative one names nothing.
  if (slash == std::string::npos || path_[0] != '/') return FolderItem();
  return FolderItem(slash == 0 ? "/" : path_.substr(0, slash));
}

void FolderItem::CreateAsFolder() {
  lastError_ = (mkdir(path_.c_str(), 0755) == 0 || errno == EEXIST) ? 0 : errno;
  children_.reset();
}

void FolderItem::Delete() {
  struct stat st;
  if (lstat(path_.c_str(), &st) != 0) {
    lastError_ = errno;
    return;
  }
  if (IsProtectedFromRemoval(path_)) {
    lastError_ = EPERM;
    return;
  }
  const int rc = S_ISDIR(st.st_mode) ? rmdir(path_.c_str()) : unlink(path_.c_str());
  lastError_ = rc == 0 ? 0 : errno;
  children_.reset();
}

void FolderItem::CopyFileTo(const FolderItem& destination) {
  if (Directory()) {
    FolderItem dest = destination;
    dest.CreateAsFolder();
    lastError_ = destination.Directory() ? 0 : (dest.LastErrorCode() ? dest.LastErrorCode() : EEXIST);
    return;
  }
  lastError_ = CopyRegularFile(path_, destination.NativePath());
}

void FolderItem::MoveFileTo(const FolderItem& destination) {
  // A rename replaces an empty folder at the destination, and takes the
  // source away from where it stood: neither may be a kept folder.
  if (IsProtectedFromRemoval(path_) || IsProtectedFromRemoval(destination.NativePath())) {
    lastError_ = EPERM;
    return;
  }
  lastError_ = rename(path_.c_str(), destination.NativePath().c_str()) == 0 ? 0 : errno;
  if (lastError_ == EXDEV) {
    lastError_ = CopyRegularFile(path_, destination.NativePath());
    if (lastError_ == 0) Delete();
  }
}

}  // namespace fw
