// The platform's removable discs and the system's quarantine mark.
#include <sys/stat.h>
#include <sys/statfs.h>

#include <climits>
#include <cstdlib>

#include "framework/posix/posix_platform.h"

namespace fw {
namespace {

// The file systems of CDs and DVDs (the kernel's magic numbers).
constexpr long kIso9660Magic = 0x9660;
constexpr long kUdfMagic = 0x15013346;

}  // namespace

std::string MountPointOf(const std::string& path) {
  char real[PATH_MAX];
  struct stat st;
  if (path.empty() || !realpath(path.c_str(), real) || stat(real, &st) != 0) return {};
  std::string mount = real;
  // Up the tree while the parent is on the same file system.
  while (mount != "/") {
    const size_t slash = mount.rfind('/');
    const std::string parent = slash == 0 ? "/" : mount.substr(0, slash);
    struct stat up;
    if (stat(parent.c_str(), &up) != 0 || up.st_dev != st.st_dev) break;
    mount = parent;
  }
  return mount;
}

bool PosixPlatform::FolderIsOnDisc(const std::string& folder) {
  struct statfs fs;
  if (folder.empty() || statfs(folder.c_str(), &fs) != 0) return false;
  const long type = static_cast<long>(fs.f_type);
  return type == kIso9660Magic || type == kUdfMagic;
}

void PosixPlatform::EjectDisc(const std::string& folder) {
  const std::string mount = MountPointOf(folder);
  if (mount.empty() || mount == "/") return;
  RunAndWait({"eject", mount}, std::string(), 60 * 1000, [this] { DoEvents(20); });
}

std::vector<std::string> QuarantineCommand(const std::string& path) {
  // The path is one argument as typed; one that begins with "-" could not
  // be told from an option.
  const std::string item = !path.empty() && path[0] == '-' ? "./" + path : path;
  return {"sudo", "-S", "xattr", "-r", "-d", "com.apple.quarantine", item};
}

void PosixPlatform::ClearQuarantine(const std::string& path, const std::string& password) {
#ifdef __APPLE__
  RunAndWait(QuarantineCommand(path), password + "\n", 120 * 1000, [this] { DoEvents(20); });
#else
  // Linux puts no quarantine mark on what is downloaded: nothing to clear.
  (void)path;
  (void)password;
#endif
}

}  // namespace fw
