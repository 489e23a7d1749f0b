// PostInstallCleanup: started with no arguments from its bundle in the
// temporary folder; see cleanup.h. Always ends with exit code 0.
#include <unistd.h>

#include <climits>

#include "cleanup/cleanup.h"
#include "framework/posix/posix_platform.h"

int main() {
  char exe[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return 0;
  const std::string program(exe, static_cast<size_t>(n));
  // Only a program inside a bundle acts: run from anywhere else it has no
  // instruction of its own, and does nothing.
  const size_t inside = program.rfind("/Contents/MacOS/");
  if (inside == std::string::npos) return 0;
  fw::PosixPlatform platform;
  try {
    ostrel::cleanup::RunCleanup(program.substr(0, inside), platform.KeptFolders(), std::chrono::minutes(1));
  } catch (...) {
    // Nothing is shown, whatever happened.
  }
  return 0;
}
