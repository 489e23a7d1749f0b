// Runs a piece of test code in a forked child under restrictions that the
// test process itself must not take on, and tells how the child ended.
#pragma once

#include <functional>

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

}  // namespace ostrel::test
