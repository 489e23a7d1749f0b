#include "payload/zip/zip_fast_expand.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>

#include "framework/two_threads.h"
#include "payload/zip/zip_directory.h"
#include "payload/zip/zip_entry_content.h"
#include "payload/zip/zip_folder_walker.h"
#include "payload/zip/zip_plan.h"

namespace ostrel {
namespace {

// Work is handed out in runs of neighbouring entries, so that a thread stays
// in one folder for a while; a large entry is a run of its own.
constexpr size_t kBatchFiles = 64;
constexpr uint64_t kBatchBytes = uint64_t(4) << 20;
constexpr int kWorkers = 2;

struct Batch {
  size_t begin, end;
  uint64_t bytes;
};

std::string WriteFailed(const std::string& path, const std::string& reason) {
  return "\"" + path + "\" could not be written (" + reason + ")";
}

mode_t CurrentUmask() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("Umask:", 0) == 0) return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8));
  const mode_t mask = umask(022);  // no /proc: read it the old way
  umask(mask);
  return mask;
}

// Makes the folder `f` in the open `parent`; 0 or an errno. A file in the
// way gives way, as with the general expander; a link in the way does not.
int MakeFolder(int parent, const FastFolder& f, bool& made) {
  const mode_t mode = f.fromEntry ? (f.mode | 0700) : 0777;  // the owner may fill it; its own mode comes last
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (mkdirat(parent, f.leaf.c_str(), mode) == 0) return made = true, 0;
    if (errno != EEXIST) return errno;
    struct stat st;
    if (fstatat(parent, f.leaf.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    if (S_ISDIR(st.st_mode)) return made = false, 0;
    if (S_ISLNK(st.st_mode)) return ELOOP;
    if (unlinkat(parent, f.leaf.c_str(), 0) != 0) return errno;
  }
  return EEXIST;
}

// Creates the file anew: an item already there is removed first (a link as
// a link), so nothing is ever written through it. -1 with errno on failure.
int CreateFile(int dir, const FastFile& f) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    const int fd = openat(dir, f.leaf.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, f.mode);
    if (fd >= 0 || errno != EEXIST) return fd;
    struct stat st;
    if (fstatat(dir, f.leaf.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return -1;
    if (unlinkat(dir, f.leaf.c_str(), S_ISDIR(st.st_mode) ? AT_REMOVEDIR : 0) != 0) return -1;
  }
  errno = EEXIST;
  return -1;
}

// The bytes of one batch mapped from the archive, so that they are read in
// place rather than copied. A batch whose entries lie far apart, or a large
// entry that is streamed anyway, gets none and is read piece by piece.
struct Window {
  Window(int archive, const FastPlan& plan, const Batch& b) {
    uint64_t low = UINT64_MAX, high = 0;
    for (size_t i = b.begin; i < b.end; ++i) {
      low = std::min(low, plan.files[i].dataOffset);
      high = std::max(high, plan.files[i].dataOffset + plan.files[i].compressedSize);
    }
    static const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    if (high <= low || high - low > EntryContent::kWholeLimit) return;
    offset = low / page * page;
    size = high - offset;
    void* p = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, archive, static_cast<off_t>(offset));
    if (p == MAP_FAILED)
      size = 0;
    else
      bytes = static_cast<const unsigned char*>(p);
  }
  ~Window() {
    if (bytes) munmap(const_cast<unsigned char*>(bytes), size);
  }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  const unsigned char* bytes = nullptr;
  uint64_t offset = 0, size = 0;
};

class FastExpansion {
 public:
  FastExpansion(const FastPlan& plan, int archive, int root, ExpandProgress& progress)
      : plan_(plan), archive_(archive), root_(root), progress_(progress), made_(plan.folders.size(), false) {}

  std::string Run() {
    if (!MakeFolders()) return error_;
    PlanBatches();
    fw::RunOnTwoThreads([this] { Work(); });
    if (stop_) return error_;
    FinishFolders();
    return error_;
  }

 private:
  void Fail(const std::string& why) {
    std::lock_guard<std::mutex> lock(errorMutex_);
    if (error_.empty()) error_ = why;
    stop_ = true;
  }

  bool MakeFolders() {
    FolderWalker walker(plan_, root_);
    for (uint32_t i = 1; i < plan_.folders.size(); ++i) {
      const FastFolder& f = plan_.folders[i];
      const int parent = walker.Open(f.parent);
      bool made = false;
      const int e = parent < 0 ? errno : MakeFolder(parent, f, made);
      if (e != 0) {
        Fail(WriteFailed(f.path, e == ELOOP ? "a symbolic link stands in its place" : std::strerror(e)));
        return false;
      }
      made_[i] = made;
      if (f.fromEntry) progress_.done += 1;
    }
    return true;
  }

  void PlanBatches() {
    const auto& files = plan_.files;
    for (size_t i = 0; i < files.size();) {
      Batch b{i, i, 0};
      while (b.end < files.size() && b.end - b.begin < kBatchFiles && (b.bytes == 0 || b.bytes + files[b.end].size <= kBatchBytes))
        b.bytes += files[b.end++].size;
      batches_.push_back(b);
      i = b.end;
    }
    // The largest first, so that no thread is left with a long one at the end.
    std::stable_sort(batches_.begin(), batches_.end(), [](const Batch& a, const Batch& b) { return a.bytes > b.bytes; });
  }

  void Work() {
    try {
      FolderWalker walker(plan_, root_);
      EntryContent content(archive_);
      while (!stop_) {
        const size_t b = next_++;
        if (b >= batches_.size()) return;
        const Window window(archive_, plan_, batches_[b]);
        content.SetWindow(window.bytes, window.offset, window.size);
        for (size_t i = batches_[b].begin; i < batches_[b].end && !stop_; ++i) WriteOne(walker, content, plan_.files[i]);
        content.SetWindow(nullptr, 0, 0);
      }
    } catch (const std::bad_alloc&) {
      Fail("there is not enough memory");
    }
  }

  void WriteOne(FolderWalker& walker, EntryContent& content, const FastFile& f) {
    const int dir = walker.Open(f.folder);
    const int out = dir < 0 ? -1 : CreateFile(dir, f);
    if (out < 0) return Fail(WriteFailed(f.path, std::strerror(errno)));
    std::string why = content.Write(f, out, progress_.done);
    const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(f.mtime), 0}};
    if (why.empty() && futimens(out, times) != 0) why = WriteFailed(f.path, std::strerror(errno));
    if (close(out) != 0 && why.empty()) why = WriteFailed(f.path, std::strerror(errno));
    if (!why.empty()) return Fail(why);
    progress_.done += 1;
  }

  // Times and modes of the folders that are entries of their own, the
  // deepest first: writing inside a folder would change its time again.
  void FinishFolders() {
    FolderWalker walker(plan_, root_);
    const mode_t mask = CurrentUmask();
    for (size_t i = plan_.folders.size(); i-- > 1;) {
      const FastFolder& f = plan_.folders[i];
      if (!f.fromEntry) continue;
      const int parent = walker.Open(f.parent);
      if (parent < 0) continue;
      const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(f.mtime), 0}};
      utimensat(parent, f.leaf.c_str(), times, AT_SYMLINK_NOFOLLOW);
      // A new folder was made open to its owner for the writing; one that
      // was there already keeps its mode.
      if (!made_[i] || (f.mode & 0700) == 0700) continue;
      const int fd = openat(parent, f.leaf.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (fd < 0) continue;
      fchmod(fd, f.mode & ~mask);
      close(fd);
    }
  }

  const FastPlan& plan_;
  const int archive_, root_;
  ExpandProgress& progress_;
  std::vector<bool> made_;
  std::vector<Batch> batches_;
  std::atomic<size_t> next_{0};
  std::atomic<bool> stop_{false};
  std::mutex errorMutex_;
  std::string error_;
};

struct Descriptor {
  int fd;
  ~Descriptor() {
    if (fd >= 0) close(fd);
  }
};

}  // namespace

std::optional<ExpandResult> TryFastExpansion(const std::string& archive, const std::string& folder,
                                             ExpandProgress& progress, const ExpandRules& rules) {
  const Descriptor in{open(archive.c_str(), O_RDONLY | O_CLOEXEC)};
  struct stat st;
  if (in.fd < 0 || fstat(in.fd, &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
  const ZipDirectory dir = ReadZipDirectory(in.fd, static_cast<uint64_t>(st.st_size));
  if (dir.status == ZipDirectory::Unreadable) return std::nullopt;
  if (dir.status == ZipDirectory::Damaged)
    return ExpandResult{false, "it is damaged or not a zip archive (" + dir.why + ")", true};

  FastPlan plan;
  std::string why;
  switch (PlanFastExpansion(in.fd, dir, folder, rules, plan, why)) {
    case PlanVerdict::Fallback:
      return std::nullopt;
    case PlanVerdict::Refuse:
      return ExpandResult{false, why, true};
    case PlanVerdict::Fast:
      break;
  }
  const Descriptor root{open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  if (root.fd < 0) return ExpandResult{false, "the folder \"" + folder + "\" cannot be opened", true};
  progress.total = plan.totalUnits;
  FastExpansion run(plan, in.fd, root.fd, progress);
  const std::string error = run.Run();
  return ExpandResult{error.empty(), error, true};
}

}  // namespace ostrel
