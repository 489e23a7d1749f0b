#include "framework/own_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>

namespace fw {
namespace {

constexpr char kPrefix[] = ".ostrel-";

// The start of process `pid` in clock ticks since boot (field 22 of its
// stat line), or 0 when it cannot be read.
unsigned long long StartTime(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(in, line)) return 0;
  // The name in parentheses may hold blanks; the fields count from behind it.
  const auto close = line.rfind(')');
  if (close == std::string::npos) return 0;
  std::istringstream fields(line.substr(close + 1));
  std::string field;
  for (int n = 3; n <= 22 && fields >> field; ++n)
    if (n == 22) return std::strtoull(field.c_str(), nullptr, 10);
  return 0;
}

// Made again in a forked child, which is a process of its own.
std::string ProcessTag() {
  static std::mutex mutex;
  static pid_t owner = 0;
  static std::string tag;
  std::lock_guard<std::mutex> lock(mutex);
  if (owner != getpid()) {
    owner = getpid();
    tag = std::to_string(owner) + "." + std::to_string(StartTime(owner));
  }
  return tag;
}

// The process id and start time an own name carries; false for another name.
bool ParseOwnName(const std::string& name, pid_t& pid, unsigned long long& start) {
  if (name.compare(0, sizeof kPrefix - 1, kPrefix) != 0) return false;
  const char* p = name.c_str() + sizeof kPrefix - 1;
  char* end = nullptr;
  const long id = std::strtol(p, &end, 10);
  if (end == p || *end != '.' || id <= 0) return false;
  p = end + 1;
  start = std::strtoull(p, &end, 10);
  if (end == p || *end != '-') return false;
  pid = static_cast<pid_t>(id);
  return true;
}

bool Running(pid_t pid, unsigned long long start) {
  if (kill(pid, 0) != 0 && errno != EPERM) return false;
  // A process of that id is there: the same one only if it started then.
  const unsigned long long now = StartTime(pid);
  return now == 0 || start == 0 || now == start;
}

}  // namespace

std::string NewOwnName(const std::string& suffix) {
  static std::atomic<unsigned> counter{0};
  return kPrefix + ProcessTag() + "-" + std::to_string(counter++) + suffix;
}

int CreateOwnFileAt(int dirfd, const std::string& suffix, mode_t mode, std::string& name) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    name = NewOwnName(suffix);
    const int fd = openat(dirfd, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  errno = EEXIST;
  return -1;
}

std::string CreateOwnFolder(const std::string& folder, const std::string& suffix, mode_t mode) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string path = (folder == "/" ? "" : folder) + "/" + NewOwnName(suffix);
    if (mkdir(path.c_str(), mode) == 0) return path;
    if (errno != EEXIST) return {};
  }
  errno = EEXIST;
  return {};
}

bool IsOwnName(const std::string& name) {
  pid_t pid;
  unsigned long long start;
  return ParseOwnName(name, pid, start);
}

std::vector<std::string> LeftOwnItems(const std::string& folder) {
  std::vector<std::string> left;
  DIR* d = opendir(folder.c_str());
  if (!d) return left;
  while (dirent* e = readdir(d)) {
    pid_t pid;
    unsigned long long start;
    if (ParseOwnName(e->d_name, pid, start) && !Running(pid, start))
      left.push_back((folder == "/" ? "" : folder) + "/" + e->d_name);
  }
  closedir(d);
  return left;
}

int RenameNoReplace(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system without the flag: look first, then rename.
  struct stat st;
  if (lstat(to.c_str(), &st) == 0) return EEXIST;
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace fw
