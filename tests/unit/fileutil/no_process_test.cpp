// Removal and permission changes are system calls: a child that is killed the
// moment it starts a process, and that permission bits bind (root too),
// still gets the whole job done on a read-only tree.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "fileutil/view_const.h"
#include "support/forked_child.h"
#include "support/sandbox.h"

namespace {

using ostrel::test::ChildLimits;
using ostrel::test::RunInChild;
using ostrel::test::SandboxTest;
namespace fs = std::filesystem;

class FileutilNoProcess : public SandboxTest {};

// Without this the test below would prove nothing: the filter does catch a
// command run through the shell, and a bare exec, and lets a thread start.
TEST_F(FileutilNoProcess, TheFilterKillsAChildThatStartsAProcess) {
  const auto viaShell = RunInChild({.noNewProcesses = true}, [] { return std::system("true") == 0 ? 0 : 3; });
  EXPECT_FALSE(viaShell.exited);
  EXPECT_EQ(viaShell.signal, SIGSYS);

  const auto viaExec = RunInChild({.noNewProcesses = true}, [] {
    execl("/bin/true", "true", static_cast<char*>(nullptr));
    return 4;
  });
  EXPECT_FALSE(viaExec.exited);
  EXPECT_EQ(viaExec.signal, SIGSYS);

  // A thread is no process: the parallel removal may use one.
  const auto allowed = RunInChild({.noNewProcesses = true}, [] {
    int ran = 5;
    std::thread([&ran] { ran = 0; }).join();
    return ran;
  });
  EXPECT_TRUE(allowed.exited);
  EXPECT_EQ(allowed.code, 0);
}

TEST_F(FileutilNoProcess, DeleteAndFullAccessStartNoProcess) {
  const std::string top = At("Installed.app");
  WriteFile(top + "/Contents/MacOS/tool", "binary");
  WriteFile(top + "/Contents/Resources/Data", "data");
  WriteFile(top + "/loose", "x");
  WriteFile(At("outside"), "keep");
  fs::create_symlink(At("outside"), top + "/Contents/link");
  for (auto& e : fs::recursive_directory_iterator(top))
    if (!e.is_symlink()) chmod(e.path().c_str(), e.is_directory() ? 0500 : 0400);
  chmod(top.c_str(), 0500);

  const auto end = RunInChild({.noPermissionOverride = true, .noNewProcesses = true}, [&] {
    if (unlink((top + "/Contents/MacOS/tool").c_str()) == 0) return 4;  // the tree must really be locked
    struct stat st;
    ViewConst::AllUsersFullAccess(top + "/loose");
    if (stat((top + "/loose").c_str(), &st) != 0 || (st.st_mode & 0777) != 0777) return 1;
    ViewConst::AllUsersFullAccessOnMac(fw::FolderItem(top + "/Contents"));
    if (stat((top + "/Contents").c_str(), &st) != 0 || (st.st_mode & 0777) != 0777) return 2;
    ViewConst::DeleteFolderOrApp(top);
    return lstat(top.c_str(), &st) == 0 ? 3 : 0;
  });
  EXPECT_TRUE(end.exited) << "ended by signal " << end.signal << (end.signal == SIGSYS ? " (a process was started)" : "");
  EXPECT_EQ(end.code, 0);
  EXPECT_EQ(ReadFile(At("outside")), "keep");
}

}  // namespace
