// Copying a folder's content into another folder. The calling thread walks
// the source and makes the folders; the files are copied by a second thread
// and, once the walk is done, by the caller as well, each through open
// folder descriptors, with the kernel moving the bytes (copy_file_range).
// Links in the source are followed, as the items of a folder are; broken
// links, pipes, devices and sockets are passed over. In the destination a
// link is never followed: the copy writes inside the destination only.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/file_copy.h"
#include "framework/folder_walk.h"
#include "framework/own_files.h"

namespace ViewConst {
namespace {

// The process's umask, read without changing it.
unsigned ProcessUmask() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("Umask:", 0) == 0) return static_cast<unsigned>(std::strtoul(line.c_str() + 6, nullptr, 8));
  const mode_t mask = umask(022);  // no /proc: the old way, briefly changing it
  umask(mask);
  return mask;
}

// A source folder and its copy, open; the last file job of the pair closes both.
struct FolderPair {
  FolderPair(int f, int t, std::atomic<int>& live) : from(f), to(t), live_(live) { ++live_; }
  ~FolderPair() {
    close(from);
    close(to);
    --live_;
  }
  const int from, to;

 private:
  std::atomic<int>& live_;
};

struct FileJob {
  std::shared_ptr<FolderPair> folders;
  std::string name;
};

// Copies one file into a new file beside its destination, which takes the
// destination's name only when complete; the source's mode comes along.
// False when the file should have been copied and was not.
bool CopyOne(const FileJob& job, mode_t mask, std::vector<char>& buffer) {
  const int in = openat(job.folders->from, job.name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (in < 0) return errno == ENOENT;  // gone since the listing: nothing to copy
  struct stat st;
  if (fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) return close(in), true;
  const mode_t mode = st.st_mode & 07777;
  const int to = job.folders->to;
  std::string temp;
  const int out = fw::CreateOwnFileAt(to, fw::kPartSuffix, mode, temp);
  if (out < 0) return close(in), false;
  bool ok = fw::CopyContent(in, out, st.st_size, buffer) == 0;
  close(in);
  // The creation mode went through the umask; only then is it set again.
  if (ok && ((mode & mask) != 0 || (mode & 07000) != 0)) ok = fchmod(out, mode) == 0;
  if (close(out) != 0) ok = false;
  // A file never replaces a folder: the rename refuses, and the copy goes.
  if (ok && renameat(to, temp.c_str(), to, job.name.c_str()) == 0) return true;
  unlinkat(to, temp.c_str(), 0);
  return false;
}

class TreeCopier {
 public:
  TreeCopier() : mask_(ProcessUmask()) {}

  // Copies the open source folder's content into the open destination; both
  // descriptors are taken over.
  void Run(int from, int to, const struct stat& fromSt) {
    std::thread helper;
    try {
      helper = std::thread([this] { Work(false); });
    } catch (const std::system_error&) {
      // The walk then copies each file as it meets it.
      single_ = true;
    }
    Walk(from, to, fromSt);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      walking_ = false;
    }
    ready_.notify_all();
    Work(false);
    if (helper.joinable()) helper.join();
  }

  // The folders copied from and into on the way down: a link that leads back
  // to one of them, or a destination inside its source, would otherwise copy
  // without end.
  std::set<std::pair<dev_t, ino_t>> ancestors;

  // Whether a file or a folder could not be made in the destination.
  bool Failed() const { return failed_; }

 private:
  // Takes jobs until none is left; with `once`, takes a single one, and
  // answers whether there was one.
  bool Work(bool once) {
    std::vector<char> buffer(1 << 20);
    for (;;) {
      FileJob job;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        ready_.wait(lock, [this, once] { return once || !jobs_.empty() || !walking_; });
        if (jobs_.empty()) return false;
        job = std::move(jobs_.front());
        jobs_.pop_front();
      }
      if (!CopyOne(job, mask_, buffer)) failed_ = true;
      if (once) return true;
    }
  }

  void Add(FileJob job) {
    if (single_) {
      std::vector<char> buffer(1 << 16);
      if (!CopyOne(job, mask_, buffer)) failed_ = true;
      return;
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      jobs_.push_back(std::move(job));
    }
    ready_.notify_one();
  }

  void Walk(int from, int to, const struct stat& fromSt) {
    const auto pair = std::make_shared<FolderPair>(from, to, live_);
    const auto self = std::make_pair(fromSt.st_dev, fromSt.st_ino);
    const bool tracked = ancestors.insert(self).second;
    const auto entries = fw::ListFolder(from);
    for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
      const char* name = it->name.c_str();
      unsigned char type = it->type;
      struct stat st;
      if (type == DT_LNK || type == DT_UNKNOWN) {  // a link counts as what it leads to
        type = fstatat(from, name, &st, 0) != 0 ? DT_UNKNOWN : S_ISDIR(st.st_mode) ? DT_DIR : S_ISREG(st.st_mode) ? DT_REG : DT_UNKNOWN;
      }
      if (type == DT_REG) {
        Add({pair, it->name});
      } else if (type == DT_DIR) {
        // Each open pair holds two descriptors: past a bound the walk helps
        // with the copying rather than open more.
        while (live_ > 128)
          if (!Work(true)) std::this_thread::yield();
        const int sub = openat(from, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (sub >= 0 && (fstat(sub, &st) != 0 || ancestors.count({st.st_dev, st.st_ino}))) {
          close(sub);
          continue;  // a loop back into the copy
        }
        // A link in the destination, there before or put there since the
        // folder was made, is not followed out of it.
        mkdirat(to, name, 0755);
        const int subTo = openat(to, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (sub < 0 || subTo < 0) {
          if (sub >= 0) close(sub);
          if (subTo >= 0) close(subTo);
          if (subTo < 0) failed_ = true;
          continue;  // nothing to list, or nowhere to put it
        }
        struct stat made;
        const bool madeTracked = fstat(subTo, &made) == 0 && ancestors.insert({made.st_dev, made.st_ino}).second;
        Walk(sub, subTo, st);
        if (madeTracked) ancestors.erase({made.st_dev, made.st_ino});
      }
    }
    if (tracked) ancestors.erase(self);
  }

  const mode_t mask_;
  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<FileJob> jobs_;
  bool walking_ = true, single_ = false;
  std::atomic<bool> failed_{false};
  std::atomic<int> live_{0};
};

}  // namespace

bool CopyFolder(const std::string& source, const std::string& destination) {
  const auto from = GlobalsKv::MyGetFolderItem(source);
  auto to = GlobalsKv::MyGetFolderItem(destination);
  if (!from || !to) return false;
  const int src = open(from->NativePath().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  struct stat srcSt{};
  // Not a folder (a plain file when CopyFile has just copied it), or one that
  // cannot be read: the destination folder is all there is to make.
  to->CreateAsFolder();
  if (src < 0 || fstat(src, &srcSt) != 0) {
    if (src >= 0) close(src);
    return true;
  }
  // When the destination cannot be a folder, the children have nowhere to
  // go: a failure unless there are none.
  const int dst = open(to->NativePath().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dst < 0) {
    const bool empty = fw::ListFolder(src).empty();
    close(src);
    return empty;
  }
  TreeCopier copier;
  struct stat made;
  // A destination inside the source is not copied into itself.
  if (fstat(dst, &made) == 0) copier.ancestors.insert({made.st_dev, made.st_ino});
  copier.Run(src, dst, srcSt);
  // Every file and folder that could not be made counts, so that a full
  // volume is reported rather than passed as a complete copy.
  return !copier.Failed();
}

}  // namespace ViewConst
