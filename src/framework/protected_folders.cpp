#include "framework/protected_folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "framework/runtime.h"

namespace fw {
namespace {

std::string RealPath(const std::string& path) {
  char buf[PATH_MAX];
  return realpath(path.c_str(), buf) ? std::string(buf) : std::string();
}

// The path with its folders resolved and its last part as it stands, or
// empty when its folder does not exist.
std::string ResolveFolders(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  if (path == "/") return path;
  const auto slash = path.rfind('/');
  const std::string name = path.substr(slash + 1);
  if (name == "." || name == "..") return RealPath(path);
  const std::string folder = RealPath(slash == 0 ? "/" : path.substr(0, slash));
  if (folder.empty()) return {};
  return folder == "/" ? "/" + name : folder + "/" + name;
}

// The mount points the kernel lists, with their escapes ("\040" for a blank) undone.
bool ListedAsMountPoint(const std::string& path) {
  std::ifstream in("/proc/self/mountinfo");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    std::string id, parent, device, root, mountPoint;
    if (!(fields >> id >> parent >> device >> root >> mountPoint)) continue;
    std::string unescaped;
    for (size_t i = 0; i < mountPoint.size(); ++i) {
      if (mountPoint[i] == '\\' && i + 3 < mountPoint.size()) {
        unescaped += static_cast<char>(std::strtol(mountPoint.substr(i + 1, 3).c_str(), nullptr, 8));
        i += 3;
      } else {
        unescaped += mountPoint[i];
      }
    }
    if (unescaped == path) return true;
  }
  return false;
}

bool IsMountPoint(const std::string& path) {
  struct stat self, up;
  if (lstat(path.c_str(), &self) != 0 || !S_ISDIR(self.st_mode)) return false;
  const auto slash = path.rfind('/');
  if (stat(slash == 0 ? "/" : path.substr(0, slash).c_str(), &up) != 0) return true;
  return self.st_dev != up.st_dev || self.st_ino == up.st_ino || ListedAsMountPoint(path);
}

// `folder` is `path` or lies below it.
bool Holds(const std::string& path, const std::string& folder) {
  if (folder == path) return true;
  if (path == "/") return !folder.empty() && folder[0] == '/';
  return folder.size() > path.size() && folder.compare(0, path.size(), path) == 0 && folder[path.size()] == '/';
}

}  // namespace

bool IsProtectedFromRemoval(const std::string& path, const std::vector<std::string>& kept) {
  if (path.empty() || path[0] != '/') return false;
  const std::string resolved = ResolveFolders(path);
  if (resolved.empty()) return false;
  struct stat st;
  if (lstat(resolved.c_str(), &st) != 0) return false;
  // A plain file is never a folder that anyone keeps; a link only by its name.
  const bool link = S_ISLNK(st.st_mode);
  if (!S_ISDIR(st.st_mode) && !link) return false;
  if (resolved == "/" || (!link && IsMountPoint(resolved))) return true;
  for (const std::string& k : kept) {
    if (k.empty() || k[0] != '/') continue;
    // A kept folder counts by the name it was given and by where it leads.
    const std::string byName = ResolveFolders(k);
    if (!byName.empty() && (link ? byName == resolved : Holds(resolved, byName))) return true;
    const std::string byTarget = link ? std::string() : RealPath(k);
    if (!byTarget.empty() && Holds(resolved, byTarget)) return true;
  }
  return false;
}

bool IsSharedFolder(const std::string& path) {
  if (path.empty() || path[0] != '/') return false;
  const std::string resolved = ResolveFolders(path);
  struct stat st;
  if (resolved.empty() || lstat(resolved.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return false;
  if ((st.st_mode & (S_IWOTH | S_ISVTX)) || st.st_uid != geteuid() || IsMountPoint(resolved)) return true;
  const std::string real = RealPath(resolved);
  for (const char* shared : {"/tmp", "/var/tmp", "/opt", "/usr/local", "/srv"})
    if (resolved == shared || real == shared) return true;
  return false;
}

bool IsProtectedFromRemoval(const std::string& path) {
  std::vector<std::string> kept;
  try {
    kept = CurrentPlatform().KeptFolders();
  } catch (const std::logic_error&) {
    // No platform: the root and the mount points still stand.
  }
  return IsProtectedFromRemoval(path, kept);
}

}  // namespace fw
