// Waiting for the installer (and whatever else runs from the setup) to end.
#include <dirent.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <thread>

#include "cleanup/cleanup.h"

namespace ostrel::cleanup {
namespace {

bool Inside(const std::string& path, const std::string& folder) {
  return path == folder || (path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 &&
                            path[folder.size()] == '/');
}

std::string Link(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t n = readlink(path.c_str(), target, sizeof target - 1);
  return n > 0 ? std::string(target, static_cast<size_t>(n)) : std::string();
}

// Its program, its working folder, or a file it holds open there (an
// interpreter holds its script open).
bool RunsFromInside(const std::string& process, const std::string& folder) {
  if (Inside(Link(process + "/exe"), folder) || Inside(Link(process + "/cwd"), folder)) return true;
  DIR* fds = opendir((process + "/fd").c_str());
  if (!fds) return false;
  bool found = false;
  while (dirent* e = readdir(fds))
    if (e->d_name[0] != '.' && (found = Inside(Link(process + "/fd/" + e->d_name), folder))) break;
  closedir(fds);
  return found;
}

bool AnyProcessInside(const std::string& folder) {
  DIR* proc = opendir("/proc");
  if (!proc) return false;
  const std::string self = std::to_string(getpid());
  bool found = false;
  while (dirent* e = readdir(proc)) {
    const std::string pid = e->d_name;
    if (pid.find_first_not_of("0123456789") != std::string::npos || pid == self) continue;
    if ((found = RunsFromInside("/proc/" + pid, folder))) break;
  }
  closedir(proc);
  return found;
}

}  // namespace

void WaitForProcessesInside(const std::string& path, std::chrono::milliseconds limit) {
  // The kernel names programs by their real paths.
  char real[PATH_MAX];
  if (!realpath(path.c_str(), real)) return;
  const auto until = std::chrono::steady_clock::now() + limit;
  while (AnyProcessInside(real) && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

}  // namespace ostrel::cleanup
