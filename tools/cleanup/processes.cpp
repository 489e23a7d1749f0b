// Waiting for the installer (and whatever else runs from the setup) to end.
#include <dirent.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <iterator>
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

// Its program, its working folder, or the script an interpreter runs
// (the first arguments of its command line).
bool RunsFromInside(const std::string& process, const std::string& folder) {
  if (Inside(Link(process + "/exe"), folder) || Inside(Link(process + "/cwd"), folder)) return true;
  std::ifstream in(process + "/cmdline", std::ios::binary);
  const std::string cmdline((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  size_t start = 0;
  for (int arg = 0; arg < 3 && start < cmdline.size(); ++arg) {
    const std::string a = cmdline.c_str() + start;
    if (Inside(a, folder)) return true;
    start += a.size() + 1;
  }
  return false;
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
