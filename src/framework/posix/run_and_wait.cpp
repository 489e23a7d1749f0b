// A program run to its end with an argument list, no shell: what it reads on
// its standard input comes through a pipe, so that a secret handed to it
// shows in no argument list, environment or file.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "framework/posix/posix_platform.h"

extern char** environ;

namespace fw {
namespace {

// SIGPIPE is held back on this thread while the pipe is written, so that a
// program that ends without reading cannot end the stub with it.
class HeldPipeSignal {
 public:
  HeldPipeSignal() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_, &old_);
  }
  ~HeldPipeSignal() {
    const timespec none{0, 0};
    while (sigtimedwait(&pipe_, nullptr, &none) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &old_, nullptr);
  }

 private:
  sigset_t pipe_, old_;
};

}  // namespace

int RunAndWait(const std::vector<std::string>& argv, const std::string& input, int timeoutMs,
               const std::function<void()>& idle) {
  if (argv.empty()) return -1;
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[0], 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  std::vector<char*> args;
  for (auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[0]);
  if (spawned != 0) {
    close(fds[1]);
    return -1;
  }

  HeldPipeSignal held;
  int writer = fds[1];
  fcntl(writer, F_SETFL, fcntl(writer, F_GETFL) | O_NONBLOCK);
  size_t written = 0;
  const auto start = std::chrono::steady_clock::now();
  for (;;) {
    // The input goes as the program takes it; the end of it closes the pipe.
    while (writer >= 0 && written < input.size()) {
      const ssize_t n = write(writer, input.data() + written, input.size() - written);
      if (n > 0) {
        written += static_cast<size_t>(n);
      } else if (n < 0 && errno == EINTR) {
        continue;
      } else {
        if (n < 0 && errno == EAGAIN) break;
        written = input.size();  // the program stopped reading: nothing more to give
      }
    }
    if (writer >= 0 && written >= input.size()) {
      close(writer);
      writer = -1;
    }
    int status = 0;
    const pid_t done = waitpid(pid, &status, WNOHANG);
    if (done == pid || (done < 0 && errno != EINTR)) {
      if (writer >= 0) close(writer);
      return done == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    if (std::chrono::steady_clock::now() - start > std::chrono::milliseconds(timeoutMs)) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
      if (writer >= 0) close(writer);
      return -1;
    }
    if (idle)
      idle();
    else
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace fw
