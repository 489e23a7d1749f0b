// Removal of a file, or of a folder with everything inside. Two threads
// share the folders of a large tree; every step goes through descriptors
// with O_NOFOLLOW, so a link is removed as a link, and one swapped in for a
// folder during the walk cannot lead the removal out of the tree.
#include "framework/tree_removal.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "framework/folder_walk.h"
#include "framework/two_threads.h"

namespace fw {
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
  Remover(int parentFd, const std::string& name, dev_t device, mode_t openUp) : device_(device), openUp_(openUp) {
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

  int OpenFolder(const Folder& f) const {
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int fd = openat(f.parentFd, f.name.c_str(), flags);
    if (fd < 0) {
      // A folder that may not be read is opened up first.
      AddModeAt(f.parentFd, f.name.c_str(), openUp_);
      return openat(f.parentFd, f.name.c_str(), flags);
    }
    // Every folder gains the bits before it is emptied, so that its items
    // may go; one call, on the descriptor, and only when a bit is missing.
    struct stat st;
    if (fstat(fd, &st) == 0 && (st.st_mode & openUp_) != openUp_) fchmod(fd, (st.st_mode & 07777) | openUp_);
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
      const auto entries = ListFolder(f->fd);
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
  const mode_t openUp_;
};

}  // namespace

void RemoveTreeAt(int parentFd, const std::string& name, mode_t openUp) {
  struct stat st;
  if (fstatat(parentFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (S_ISDIR(st.st_mode))
    Remover(parentFd, name, st.st_dev, openUp).Run();
  else
    unlinkat(parentFd, name.c_str(), 0);
}

}  // namespace fw
