// Removal of a file, a folder or a bundle with everything inside. Two threads
// share the folders of a large tree; every step goes through descriptors
// with O_NOFOLLOW, so a link is removed as a link, and one swapped in for a
// folder during the walk cannot lead the removal out of the tree.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "dialogs/globals_kv.h"
#include "fileutil/full_access.h"
#include "fileutil/invisible_items.h"
#include "fileutil/tree_listing.h"
#include "fileutil/view_const.h"
#include "framework/protected_folders.h"
#include "framework/two_threads.h"

namespace ViewConst {
namespace {

// One folder being emptied. Its sub-folders hold it, and so its descriptor,
// until the last of them is gone; then it goes from its own parent.
struct Folder {
  Folder(std::shared_ptr<Folder> up, int upFd, std::string n) : parent(std::move(up)), parentFd(upFd), name(std::move(n)) {}
  std::shared_ptr<Folder> parent;
  int parentFd;
  std::string name;
  int fd = -1;
  std::atomic<int> pending{1};  // sub-folders not yet removed, plus one while it is listed
};

class Remover {
 public:
  Remover(int parentFd, const std::string& name, dev_t device) : device_(device) {
    todo_.push_back(std::make_shared<Folder>(nullptr, parentFd, name));
  }

  void Run() {
    fw::RunOnTwoThreads([this] { Work(); });
  }

 private:
  void Work() {
    for (;;) {
      std::shared_ptr<Folder> f;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        ready_.wait(lock, [this] { return !todo_.empty() || busy_ == 0; });
        if (todo_.empty()) return;  // nothing left, and nobody is listing
        f = std::move(todo_.back());
        todo_.pop_back();
        ++busy_;
      }
      Empty(f);
      std::lock_guard<std::mutex> lock(mutex_);
      if (--busy_ == 0 || !todo_.empty()) ready_.notify_all();
    }
  }

  static int OpenFolder(const Folder& f) {
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int fd = openat(f.parentFd, f.name.c_str(), flags);
    if (fd < 0) {
      // A folder that may not be read is opened to everyone first.
      detail::AddFullAccessAt(f.parentFd, f.name.c_str());
      return openat(f.parentFd, f.name.c_str(), flags);
    }
    // Every folder gains rwx for all before it is emptied; one call, on the
    // descriptor, and only when its mode lacks a bit.
    struct stat st;
    if (fstat(fd, &st) == 0 && (st.st_mode & 0777) != 0777) fchmod(fd, (st.st_mode & 07777) | 0777);
    return fd;
  }

  void Empty(const std::shared_ptr<Folder>& f) {
    f->fd = OpenFolder(*f);
    // Another file system mounted inside the tree is not the tree's: it is
    // left whole, and so is the folder it hangs in.
    struct stat st;
    if (f->fd >= 0 && (fstat(f->fd, &st) != 0 || st.st_dev != device_)) {
      close(f->fd);
      f->fd = -1;
    }
    if (f->fd >= 0) {
      std::vector<std::shared_ptr<Folder>> subs;
      const auto entries = detail::ListFolder(f->fd);
      // From the last name to the first, as the item numbers run down. A
      // file's own mode does not matter to its removal, and changing it would
      // reach any other hard link to it.
      for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
        bool folder = it->type == DT_DIR;
        if (!folder && unlinkat(f->fd, it->name.c_str(), 0) != 0 && it->type == DT_UNKNOWN) {
          struct stat st;
          folder = fstatat(f->fd, it->name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
        }
        if (folder) subs.push_back(std::make_shared<Folder>(f, f->fd, it->name));
      }
      if (!subs.empty()) {
        f->pending += static_cast<int>(subs.size());
        std::lock_guard<std::mutex> lock(mutex_);
        // The stack hands out the last name first.
        todo_.insert(todo_.end(), std::make_move_iterator(subs.rbegin()), std::make_move_iterator(subs.rend()));
        ready_.notify_all();
      }
    }
    Release(f);
  }

  // Drops one hold on `f`; the last one removes it, and then drops the one
  // it had on its parent.
  static void Release(std::shared_ptr<Folder> f) {
    while (f && --f->pending == 0) {
      if (f->fd >= 0) close(f->fd);
      unlinkat(f->parentFd, f->name.c_str(), AT_REMOVEDIR);
      f = f->parent;
    }
  }

  std::mutex mutex_;
  std::condition_variable ready_;
  std::vector<std::shared_ptr<Folder>> todo_;  // a stack
  int busy_ = 0;
  const dev_t device_;
};

}  // namespace

void DeleteFolderOrApp(const std::string& path) {
  const auto item = GlobalsKv::MyGetFolderItem(path);
  if (!item) return;
  const fw::FolderItem parent = item->Parent();
  const std::string name = item->Name();
  // The root has no name in a parent to remove it by.
  if (parent.NativePath().empty() || name.empty() || name == "/" || name == "." || name == "..") return;
  if (fw::IsProtectedFromRemoval(item->NativePath())) return;
  const int dir = open(parent.NativePath().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return;
  struct stat st;
  if (fstatat(dir, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
    if (S_ISDIR(st.st_mode))
      Remover(dir, name, st.st_dev).Run();
    else
      unlinkat(dir, name.c_str(), 0);
  }
  close(dir);
  if (!item->Exists()) detail::ReleaseInvisible(item->NativePath());
}

}  // namespace ViewConst
