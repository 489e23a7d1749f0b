// Runs a piece of test code in a forked child under restrictions that the
// test process itself must not take on, and tells how the child ended.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace ostrel::test {

struct ChildEnd {
  bool exited = false;  // a normal exit, with `code`
  int code = -1;
  int signal = 0;       // the signal that ended it otherwise
};

struct ChildLimits {
  // Permission bits hold even for root: the capabilities that override
  // them are dropped.
  bool noPermissionOverride = false;
  // Starting a process by any route (execve, execveat, fork, vfork, clone)
  // kills the child with SIGSYS.
  bool noNewProcesses = false;
};

// `body` answers the child's exit code; an exception exits with 99.
ChildEnd RunInChild(const ChildLimits& limits, const std::function<int()>& body);

// The same in two halves, for a test that acts on the child while it runs
// (stops or kills it): the child's id, or -1, and later how it ended.
pid_t StartChild(const ChildLimits& limits, const std::function<int()>& body);
ChildEnd WaitForChild(pid_t pid);

// Runs `body` in a child that an alarm kills after `seconds`, and whose
// resident memory may grow by `megabytes` at most. The body answers an
// empty text when all went well, else what went wrong. Empty when it did
// so within both bounds, else what went wrong (the body's first 4 KiB).
std::string RunBounded(int seconds, long megabytes, const std::function<std::string()>& body);

}  // namespace ostrel::test
