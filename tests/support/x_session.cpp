#include "support/x_session.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace ostrel::test {
namespace {

using namespace std::chrono;

std::vector<std::string> MergedEnv(const std::map<std::string, std::string>& extra) {
  std::map<std::string, std::string> all;
  for (char** e = environ; *e; ++e) {
    const char* eq = strchr(*e, '=');
    if (eq) all[std::string(*e, static_cast<size_t>(eq - *e))] = eq + 1;
  }
  for (auto& [k, v] : extra) all[k] = v;
  std::vector<std::string> out;
  for (auto& [k, v] : all) out.push_back(k + "=" + v);
  return out;
}

pid_t Spawn(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env,
            int stdoutFd, bool quiet = false) {
  std::vector<char*> args;
  for (auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  auto envStrings = MergedEnv(env);
  std::vector<char*> envp;
  for (auto& e : envStrings) envp.push_back(e.data());
  envp.push_back(nullptr);
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  if (stdoutFd >= 0) posix_spawn_file_actions_adddup2(&fa, stdoutFd, 1);
  if (quiet) posix_spawn_file_actions_addopen(&fa, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  const int rc = posix_spawnp(&pid, args[0], &fa, nullptr, args.data(), envp.data());
  posix_spawn_file_actions_destroy(&fa);
  return rc == 0 ? pid : -1;
}

}  // namespace

int RunProgram(const std::vector<std::string>& argv, std::string* output,
               const std::map<std::string, std::string>& env) {
  int fds[2] = {-1, -1};
  if (output ? pipe(fds) != 0 : (fds[1] = open("/dev/null", O_WRONLY | O_CLOEXEC)) < 0) return -1;
  const pid_t pid = Spawn(argv, env, fds[1], true);
  close(fds[1]);
  if (pid < 0) {
    if (output) close(fds[0]);
    return -1;
  }
  if (output) {
    char buf[4096];
    ssize_t n;
    while ((n = read(fds[0], buf, sizeof buf)) > 0) output->append(buf, static_cast<size_t>(n));
    close(fds[0]);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

XSession::XSession() {
  // Xvfb picks a free display itself and writes its number to the pipe once it
  // accepts connections: no race with another session started at the same
  // moment on a shared machine. Without -noreset the server resets whenever
  // its last client leaves (the probe below, an xdotool call, a stub that
  // ended), and a client connecting during that reset is turned away.
  int fds[2];
  if (pipe(fds) != 0) throw std::runtime_error("no pipe for Xvfb");
  xvfb_ = Spawn({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"}, {}, fds[1], true);
  close(fds[1]);
  std::string number;
  char c;
  while (xvfb_ > 0 && read(fds[0], &c, 1) == 1 && c != '\n') number += c;
  close(fds[0]);
  display_ = ":" + number;
  for (int i = 0; i < 100 && xvfb_ > 0 && !number.empty(); ++i) {
    if (RunProgram({"xdpyinfo", "-display", display_}, nullptr) == 0) return;
    std::this_thread::sleep_for(milliseconds(100));
  }
  StopXvfb();
  throw std::runtime_error(number.empty() ? "Xvfb cannot be started" : "Xvfb on " + display_ + " does not answer");
}

XSession::~XSession() { StopXvfb(); }

void XSession::StopXvfb() {
  if (xvfb_ > 0) {
    kill(xvfb_, SIGTERM);
    waitpid(xvfb_, nullptr, 0);
  }
}

int XSession::Xdotool(const std::vector<std::string>& args, std::string* out) {
  std::vector<std::string> argv{"xdotool"};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProgram(argv, out, Env());
}

std::optional<std::string> XSession::FindWindow(const std::string& titleRegex, milliseconds timeout) {
  const auto end = steady_clock::now() + timeout;
  do {
    std::string out;
    Xdotool({"search", "--onlyvisible", "--name", titleRegex}, &out);
    if (!out.empty()) return out.substr(0, out.find('\n'));
    std::this_thread::sleep_for(milliseconds(100));
  } while (steady_clock::now() < end);
  return std::nullopt;
}

std::string XSession::WindowTitle(const std::string& id) {
  std::string out;
  Xdotool({"getwindowname", id}, &out);
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

std::pair<int, int> XSession::WindowSize(const std::string& id) {
  const auto g = Geometry(id);
  return {g[2], g[3]};
}

std::array<int, 4> XSession::Geometry(const std::string& id) {
  std::string out;
  Xdotool({"getwindowgeometry", "--shell", id}, &out);
  std::array<int, 4> g{};
  const char* keys[] = {"X=", "Y=", "WIDTH=", "HEIGHT="};
  for (size_t i = 0; i < 4; ++i)
    if (auto p = out.find(std::string("\n") + keys[i]); p != std::string::npos)
      g[i] = std::stoi(out.substr(p + 1 + strlen(keys[i])));
  return g;
}

void XSession::WaitSettled(const std::string& id, milliseconds timeout) {
  // A window is mapped before the stub has laid it out: clicks and keys sent
  // while it still moves or grows land beside their control. Settled = the
  // same geometry on three looks in a row.
  const auto end = steady_clock::now() + timeout;
  auto last = Geometry(id);
  for (int same = 0; same < 2 && steady_clock::now() < end;) {
    std::this_thread::sleep_for(milliseconds(60));
    const auto now = Geometry(id);
    same = now == last ? same + 1 : 0;
    last = now;
  }
}

void XSession::Click(const std::string& id, int x, int y) {
  // A synced move to where the pointer already is waits for a motion that
  // never comes (a button of the next window at the same place): the pointer
  // leaves for the screen's corner first.
  Xdotool({"mousemove", "0", "0"});
  Xdotool({"mousemove", "--window", id, "--sync", std::to_string(x), std::to_string(y)});
  Xdotool({"click", "1"});
}

void XSession::Key(const std::string& id, const std::string& keys) {
  Xdotool({"windowfocus", "--sync", id});
  Xdotool({"key", "--clearmodifiers", keys});
}

void XSession::Type(const std::string& id, const std::string& text) {
  Xdotool({"windowfocus", "--sync", id});
  Xdotool({"type", "--delay", "5", text});
}

bool XSession::Screenshot(const std::string& id, const std::string& pngPath) {
  // A window that closes meanwhile can leave import waiting for ever.
  return RunProgram({"timeout", "10", "import", "-display", display_, "-window", id, pngPath}, nullptr, Env()) == 0;
}

Process::Process(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env)
    : pid_(Spawn(argv, env, -1)) {
  if (pid_ < 0) throw std::runtime_error("cannot start " + argv[0]);
}

Process::~Process() {
  if (Running()) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

bool Process::Running() {
  if (status_) return false;
  int status;
  if (waitpid(pid_, &status, WNOHANG) == pid_) {
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return false;
  }
  return true;
}

std::optional<int> Process::Wait(milliseconds timeout) {
  const auto end = steady_clock::now() + timeout;
  while (Running()) {
    if (steady_clock::now() >= end) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
      status_ = -1;
      return std::nullopt;
    }
    std::this_thread::sleep_for(milliseconds(50));
  }
  return status_;
}

}  // namespace ostrel::test
