#include "support/forked_child.h"

#include <linux/audit.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <vector>

namespace ostrel::test {
namespace {

#if defined(__x86_64__)
constexpr unsigned kArch = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kArch = AUDIT_ARCH_AARCH64;
#else
#error "no seccomp architecture for this machine"
#endif

bool DropPermissionOverride() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  if (syscall(SYS_capget, &header, data) != 0) return false;
  const unsigned drop = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH) | (1u << CAP_FOWNER);
  data[0].effective &= ~drop;
  data[0].permitted &= ~drop;
  data[0].inheritable &= ~drop;
  return syscall(SYS_capset, &header, data) == 0;
}

// Threads may start, processes may not. A filter cannot read the flags that
// clone3 takes behind a pointer, so clone3 answers "not implemented" and the C
// library falls back to clone, whose flags it can read: with CLONE_THREAD it is
// a thread; without, a process.
bool ForbidNewProcesses() {
  std::vector<unsigned> forbidden = {__NR_execve, __NR_execveat};
#ifdef __NR_fork
  forbidden.push_back(__NR_fork);
#endif
#ifdef __NR_vfork
  forbidden.push_back(__NR_vfork);
#endif
  const auto ret = [](uint32_t what) -> sock_filter { return BPF_STMT(BPF_RET | BPF_K, what); };
  std::vector<sock_filter> prog;
  prog.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)));
  prog.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArch, 1, 0));
  prog.push_back(ret(SECCOMP_RET_KILL_PROCESS));
  prog.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
  const auto jump = [](uint32_t test, uint32_t value, uint8_t ifTrue, uint8_t ifFalse) -> sock_filter {
    return BPF_JUMP(BPF_JMP | test | BPF_K, value, ifTrue, ifFalse);
  };
#ifdef __NR_clone3
  prog.push_back(jump(BPF_JEQ, __NR_clone3, 0, 1));
  prog.push_back(ret(SECCOMP_RET_ERRNO | ENOSYS));
#endif
  // clone: the low word of its first argument holds the flags.
  prog.push_back(jump(BPF_JEQ, __NR_clone, 0, 4));
  prog.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])));
  prog.push_back(jump(BPF_JSET, CLONE_THREAD, 0, 1));
  prog.push_back(ret(SECCOMP_RET_ALLOW));
  prog.push_back(ret(SECCOMP_RET_KILL_PROCESS));
  // Each of the others jumps to the kill at the very end when it matches.
  const size_t tests = forbidden.size() + 1;
  for (size_t i = 0; i < forbidden.size(); ++i)
    prog.push_back(jump(BPF_JEQ, forbidden[i], static_cast<uint8_t>(tests - i), 0));
#if defined(__x86_64__)
  // The x32 numbers of the same calls.
  prog.push_back(BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, 0x40000000u, 1, 0));
#else
  prog.push_back(BPF_JUMP(BPF_JMP | BPF_JA, 0, 0, 0));
#endif
  prog.push_back(ret(SECCOMP_RET_ALLOW));
  prog.push_back(ret(SECCOMP_RET_KILL_PROCESS));
  sock_fprog fprog{static_cast<unsigned short>(prog.size()), prog.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &fprog) == 0;
}

long MemoryKb(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind(field, 0) == 0) return std::strtol(line.c_str() + std::strlen(field), nullptr, 10);
  return -1;
}

}  // namespace

pid_t StartChild(const ChildLimits& limits, const std::function<int()>& body) {
  const pid_t pid = fork();
  if (pid == 0) {
    if (limits.noPermissionOverride && !DropPermissionOverride()) _exit(97);
    if (limits.noNewProcesses && !ForbidNewProcesses()) _exit(98);
    int code = 99;
    try {
      code = body();
    } catch (...) {
    }
    _exit(code);
  }
  return pid;
}

ChildEnd WaitForChild(pid_t pid) {
  ChildEnd end;
  int status = 0;
  if (pid <= 0) return end;
  pid_t got;
  while ((got = waitpid(pid, &status, 0)) < 0 && errno == EINTR) {
  }
  if (got != pid) return end;
  if (WIFEXITED(status)) {
    end.exited = true;
    end.code = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    end.signal = WTERMSIG(status);
  }
  return end;
}

ChildEnd RunInChild(const ChildLimits& limits, const std::function<int()>& body) {
  return WaitForChild(StartChild(limits, body));
}

std::string RunBounded(int seconds, long megabytes, const std::function<std::string()>& body) {
  int told[2];
  if (pipe(told) != 0) return "no pipe for the child";
  const pid_t pid = StartChild({}, [&] {
    close(told[0]);
    alarm(static_cast<unsigned>(seconds));
    // Resets the peak so that only this body's growth counts.
    std::ofstream("/proc/self/clear_refs") << "5";
    const long before = MemoryKb("VmRSS:");
    const std::string why = body();
    if (before >= 0 && MemoryKb("VmHWM:") - before > megabytes * 1024) return 2;
    if (why.empty()) return 0;
    // Far less than a pipe holds: the write cannot block.
    [[maybe_unused]] const ssize_t n = write(told[1], why.data(), std::min<size_t>(why.size(), 4096));
    return 1;
  });
  close(told[1]);
  std::string why;
  char buffer[4096];
  for (ssize_t n; pid > 0 && (n = read(told[0], buffer, sizeof buffer)) != 0;)
    if (n > 0) why.append(buffer, static_cast<size_t>(n));
    else if (errno != EINTR) break;
  close(told[0]);
  const ChildEnd end = WaitForChild(pid);
  if (pid <= 0 || (!end.exited && end.signal == 0)) return "the child could not be run";
  if (!end.exited)
    return end.signal == SIGALRM ? "it ran past " + std::to_string(seconds) + " s"
                                 : "it died of signal " + std::to_string(end.signal);
  switch (end.code) {
    case 0: return {};
    case 1: return "its result was wrong: " + why;
    case 2: return "its memory grew past " + std::to_string(megabytes) + " MB";
    case 99: return "it threw";
    default: return "it exited with " + std::to_string(end.code);
  }
}

}  // namespace ostrel::test
