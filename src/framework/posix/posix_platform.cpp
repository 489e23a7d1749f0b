#include "framework/posix/posix_platform.h"

#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace fw {
namespace {

int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string HomeFolder() {
  if (const char* h = getenv("HOME"); h && *h == '/') return h;
  if (passwd* pw = getpwuid(getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return "/";
}

}  // namespace

PosixPlatform::PosixPlatform() : startMs_(NowMs()) {}

int64_t PosixPlatform::Ticks() { return (NowMs() - startMs_) * 60 / 1000; }

void PosixPlatform::DoEvents(int milliseconds) {
  if (eventPump) {
    eventPump(milliseconds);
    return;
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds > 0 ? milliseconds : 1));
}

std::string PrivateTemporaryFolder(const std::string& base) {
  // By its real path: "/tmp/" or a TMPDIR reached through a link names the
  // same folder, and a copy relocated into it must recognise where it runs.
  char real[PATH_MAX];
  std::string folder = realpath(base.c_str(), real) ? std::string(real) : base;
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  const std::string path = (folder == "/" ? "" : folder) + "/ostrel-" + std::to_string(getuid());
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
    throw IOException("The temporary folder " + path + " cannot be created.");
  struct stat st;
  if (lstat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
    throw IOException("The temporary folder " + path + " is not a folder.");
  if (st.st_uid != getuid())
    throw IOException("The temporary folder " + path + " belongs to another user.");
  if ((st.st_mode & 077) != 0 && chmod(path.c_str(), 0700) != 0)
    throw IOException("The temporary folder " + path + " cannot be made private.");
  return path;
}

std::string XdgUserFolder(const std::string& home, const std::string& name, const std::string& fallbackName) {
  const char* cfg = getenv("XDG_CONFIG_HOME");
  const std::string file = (cfg && *cfg == '/' ? std::string(cfg) : home + "/.config") + "/user-dirs.dirs";
  std::ifstream in(file);
  std::string line;
  const std::string key = "XDG_" + name + "_DIR=";
  while (std::getline(in, line)) {
    if (line.rfind(key, 0) != 0) continue;
    std::string v = line.substr(key.size());
    if (v.size() >= 2 && v.front() == '"' && v.back() == '"') v = v.substr(1, v.size() - 2);
    if (v.rfind("$HOME", 0) == 0) v = home + v.substr(5);
    if (!v.empty() && v[0] == '/') return v;
  }
  return home + "/" + fallbackName;
}

std::string PosixPlatform::SpecialFolder(SpecialFolderKind kind) {
  const std::string home = HomeFolder();
  switch (kind) {
    case SpecialFolderKind::Temporary:
    case SpecialFolderKind::Shared: {
      // No folder is shared between users here that others could not plant
      // things in: the user's private temporary folder serves instead.
      const char* t = getenv("TMPDIR");
      return PrivateTemporaryFolder(t && *t == '/' ? t : "/tmp");
    }
    case SpecialFolderKind::Home:
      return home;
    case SpecialFolderKind::Desktop:
      return XdgUserFolder(home, "DESKTOP", "Desktop");
    case SpecialFolderKind::Applications: {
      // A folder every user may write to without privileges.
      const std::string apps = home + "/Applications";
      mkdir(apps.c_str(), 0755);
      return apps;
    }
    case SpecialFolderKind::System:
      return "/usr";
  }
  return "/";
}

std::vector<std::string> PosixPlatform::KeptFolders() {
  // Read once: every removal asks.
  std::call_once(keptOnce_, [this] { kept_ = ReadKeptFolders(); });
  return kept_;
}

std::vector<std::string> PosixPlatform::ReadKeptFolders() {
  const std::string home = HomeFolder();
  std::vector<std::string> kept = {home, home + "/Applications"};
  // Both the folder the user-dirs file names and the usual name: a user who
  // moved Documents elsewhere may still keep files in ~/Documents.
  static const std::pair<const char*, const char*> kStandard[] = {
      {"DESKTOP", "Desktop"}, {"DOCUMENTS", "Documents"}, {"DOWNLOAD", "Downloads"}, {"MUSIC", "Music"},
      {"PICTURES", "Pictures"}, {"VIDEOS", "Videos"}, {"PUBLICSHARE", "Public"}, {"TEMPLATES", "Templates"}};
  for (const auto& [key, name] : kStandard) {
    kept.push_back(home + "/" + name);
    const std::string configured = XdgUserFolder(home, key, name);
    // The user-dirs file names the home folder itself for a folder the user turned off.
    if (configured != home + "/" + name) kept.push_back(configured);
  }
  return kept;
}

int64_t InstalledMemoryMB(const std::string& blocksFolder, const std::string& meminfo) {
  // Every block the firmware reported, online or not, is memory in the machine.
  std::ifstream sizeFile(blocksFolder + "/block_size_bytes");
  std::string hex;
  uint64_t blockSize = 0, blocks = 0;
  if (sizeFile >> hex) blockSize = std::strtoull(hex.c_str(), nullptr, 16);
  if (DIR* d = blockSize ? opendir(blocksFolder.c_str()) : nullptr) {
    while (dirent* e = readdir(d)) {
      const char* name = e->d_name;
      if (std::strncmp(name, "memory", 6) == 0 && name[6] >= '0' && name[6] <= '9') ++blocks;
    }
    closedir(d);
  }
  constexpr uint64_t kGiB = uint64_t(1) << 30;
  if (blocks > 0) return static_cast<int64_t>((blocks * blockSize + kGiB - 1) / kGiB * 1024);
  std::ifstream info(meminfo);
  for (std::string line; std::getline(info, line);)
    if (line.rfind("MemTotal:", 0) == 0) return std::strtoll(line.c_str() + 9, nullptr, 10) / 1024;
  return 0;
}

bool PosixPlatform::Gestalt(const std::string& selector, int64_t& value) {
  if (selector == "ramm") {
    value = InstalledMemoryMB("/sys/devices/system/memory", "/proc/meminfo");
    return value > 0;
  }
  if (selector == "sys1" || selector == "sys2") {
    // The kernel's release N.M stands as system (10 + N).M: every kernel in
    // use is newer than the systems the minimum-version keys name.
    utsname u;
    int major = 0, minor = 0;
    if (uname(&u) != 0 || sscanf(u.release, "%d.%d", &major, &minor) != 2) return false;
    value = selector == "sys1" ? 10 + major : minor;
    return true;
  }
  return false;
}

std::string PosixPlatform::ExecutablePath() {
  char buf[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

void PosixPlatform::ShowURL(const std::string& url) { SpawnDetached({"xdg-open", url}); }

std::string PosixPlatform::ClipboardText() {
  std::lock_guard<std::mutex> lock(clipboardMutex_);
  return clipboard_;
}

void PosixPlatform::SetClipboardText(const std::string& text) {
  std::lock_guard<std::mutex> lock(clipboardMutex_);
  clipboard_ = text;
}

}  // namespace fw
