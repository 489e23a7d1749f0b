// What the Linux platform starts for a launched item, and the setup's shell
// lines run for real through /bin/sh.
#include <stdlib.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "framework/posix/posix_platform.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

using LaunchingTest = SandboxTest;

TEST_F(LaunchingTest, ABundleStartsItsProgramAFileItselfAndAnythingElseTheOpener) {
  const auto program = [&](const std::string& path, mode_t mode = 0755) {
    WriteFile(At(path), "#!/bin/sh\n");
    chmod(At(path).c_str(), mode);
  };
  program("Named.app/Contents/MacOS/Named");
  program("Named.app/Contents/MacOS/other");
  program("Only.app/Contents/MacOS/helper");
  program("Only.app/Contents/MacOS/notes.txt", 0644);
  program("Two.app/Contents/MacOS/a");
  program("Two.app/Contents/MacOS/b");
  program("tool");
  program("document.txt", 0644);
  fs::create_directories(At("Folder"));

  using Args = std::vector<std::string>;
  EXPECT_EQ(fw::LaunchArguments(At("Named.app")), Args{At("Named.app/Contents/MacOS/Named")});
  EXPECT_EQ(fw::LaunchArguments(At("Only.app/")), Args{At("Only.app/Contents/MacOS/helper")});
  EXPECT_EQ(fw::LaunchArguments(At("tool")), Args{At("tool")});
  for (const char* item : {"Two.app", "document.txt", "Folder", "missing"})
    EXPECT_EQ(fw::LaunchArguments(At(item)), (Args{"xdg-open", At(item)})) << item;
}

TEST_F(LaunchingTest, AShellLineRunsThroughTheShellWithOurEnvironmentAndIsWaitedFor) {
  setenv("OSTREL_LAUNCH_PROBE", "inherited", 1);
  fw::PosixPlatform posix;
  const std::string out = At("out.txt");
  EXPECT_EQ(posix.RunShellCommand("sleep 0.2; printf %s \"$OSTREL_LAUNCH_PROBE\" > '" + out + "'; echo noise; exit 3"), 3);
  EXPECT_EQ(ReadFile(out), "inherited");
  // Each line is a shell of its own: a "cd" does not reach the next.
  EXPECT_EQ(posix.RunShellCommand("cd '" + At("") + "'"), 0);
  EXPECT_EQ(posix.RunShellCommand("test -e out.txt"), 1);
  unsetenv("OSTREL_LAUNCH_PROBE");
}

}  // namespace
}  // namespace ostrel::test
