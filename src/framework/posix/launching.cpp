// Starting other programs: launched items (detached, never through a shell)
// and the setup's own shell command lines (through /bin/sh, waited for).
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "framework/posix/posix_platform.h"
#include "framework/text.h"

extern char** environ;

namespace fw {
namespace {

bool IsExecutableFile(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
}

// The single executable file in `folder`; empty when there is none or more than one.
std::string OnlyExecutableIn(const std::string& folder) {
  std::string found;
  DIR* d = opendir(folder.c_str());
  if (!d) return {};
  int count = 0;
  while (dirent* e = readdir(d)) {
    const std::string name = e->d_name;
    if (name == "." || name == ".." || !IsExecutableFile(folder + "/" + name)) continue;
    found = folder + "/" + name;
    ++count;
  }
  closedir(d);
  return count == 1 ? found : std::string();
}

// A child that starts with no blocked signals, whatever the thread that spawns it had blocked.
struct SpawnAttributes {
  explicit SpawnAttributes(short flags) {
    posix_spawnattr_init(&attr);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setflags(&attr, static_cast<short>(flags | POSIX_SPAWN_SETSIGMASK));
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attr); }
  posix_spawnattr_t attr;
};

std::vector<char*> ArgumentPointers(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  for (auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  return args;
}

void ReapInBackground(pid_t pid) {
  std::thread([pid] { waitpid(pid, nullptr, 0); }).detach();
}

}  // namespace

int SpawnDetached(const std::vector<std::string>& argv) {
  auto args = ArgumentPointers(argv);
  // A session of its own: the program outlives the installer and is not
  // reached by signals meant for the installer's terminal.
  SpawnAttributes attributes(POSIX_SPAWN_SETSID);
  pid_t pid;
  if (posix_spawnp(&pid, args[0], nullptr, &attributes.attr, args.data(), environ) != 0) return -1;
  ReapInBackground(pid);
  return pid;
}

std::vector<std::string> LaunchArguments(const std::string& given) {
  std::string path = given;
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  struct stat st;
  const size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const bool bundleName = name.size() > 4 && AsciiLower(name.substr(name.size() - 4)) == ".app";
  if (bundleName && stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    const std::string programs = path + "/Contents/MacOS";
    const std::string named = programs + "/" + name.substr(0, name.size() - 4);
    if (IsExecutableFile(named)) return {named};
    if (std::string only = OnlyExecutableIn(programs); !only.empty()) return {only};
  } else if (IsExecutableFile(path)) {
    return {path};
  }
  return {"xdg-open", path};
}

void PosixPlatform::LaunchExternal(const std::string& path, bool) { SpawnDetached(LaunchArguments(path)); }

int PosixPlatform::RunShellCommand(const std::string& commandLine) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&files, 1, 2);
  SpawnAttributes attributes(0);
  const std::vector<std::string> argv = {"/bin/sh", "-c", commandLine};
  auto args = ArgumentPointers(argv);
  pid_t pid;
  const int started = posix_spawn(&pid, "/bin/sh", &files, &attributes.attr, args.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  if (started != 0) return -1;

  // The window stays alive while the command runs. A wait that ends early
  // (the time is up, or the user quit meanwhile) leaves the command to run on.
  const int64_t start = Ticks();
  try {
    for (;;) {
      int status = 0;
      const pid_t done = waitpid(pid, &status, WNOHANG);
      if (done == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      if (done < 0 && errno != EINTR) return -1;
      if (Ticks() - start > kShellCommandGiveUpTicks) break;
      DoEvents(10);
    }
  } catch (...) {
    ReapInBackground(pid);
    throw;
  }
  ReapInBackground(pid);
  return -1;
}

}  // namespace fw
