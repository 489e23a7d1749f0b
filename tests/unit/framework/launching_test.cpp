// What the Linux platform starts for a launched item, the setup's shell lines
// run for real through /bin/sh, and programs run to their end with their
// input on a pipe: a password full of shell characters arrives byte for byte
// and shows in no process's argument list or environment while it runs; a
// program that will not end, or that will not read, does not hold the stub
// up or end it.
#include <stdlib.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "framework/posix/posix_platform.h"
#include "framework/sha256.h"
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

// Every process's argument list and environment, as the system shows them to `ps`.
std::string AllCommandLines() {
  std::string all;
  for (auto& e : fs::directory_iterator("/proc")) {
    const std::string pid = e.path().filename().string();
    if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
    for (const char* file : {"/cmdline", "/environ"}) {
      std::ifstream in(e.path().string() + file, std::ios::binary);
      std::ostringstream s;
      s << in.rdbuf();
      all += s.str() + '\n';
    }
  }
  return all;
}

TEST(RunAndWaitTest, APasswordReachesTheProgramOnItsStandardInputAndNowhereElse) {
  const std::string password = "p\"a'ss $(touch pwned) `id` $HOME \\ ;|&* \"'";
  fw::Sha256 sum;
  sum.Add((password + "\n").data(), password.size() + 1);
  const std::string digest = sum.HexDigest();
  // The program answers 0 only when its input was the password and its line break.
  const std::vector<std::string> argv = {"/bin/sh", "-c", "sleep 0.5; test \"$(sha256sum)\" = \"" + digest + "  -\""};

  std::atomic<bool> running{true}, sawProgram{false}, sawPassword{false};
  std::thread watcher([&] {
    while (running) {
      const std::string lines = AllCommandLines();
      if (lines.find(digest) != std::string::npos) sawProgram = true;
      if (lines.find("$(touch pwned)") != std::string::npos) sawPassword = true;
    }
  });
  const int code = fw::RunAndWait(argv, password + "\n", 10'000);
  running = false;
  watcher.join();
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(sawProgram);  // the watch did see the running program
  EXPECT_FALSE(sawPassword);
}

TEST(RunAndWaitTest, AProgramThatWillNotEndOrNotReadDoesNotHoldUpTheCaller) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(fw::RunAndWait({"sleep", "30"}, "", 300), -1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(fw::RunAndWait({"true"}, std::string(4 << 20, 'x'), 10'000), 0);  // more than a pipe holds
  EXPECT_EQ(fw::RunAndWait({"no-such-program-anywhere"}, "", 1000), -1);
}

TEST(RunAndWaitTest, TheQuarantineCommandTakesThePathAsOneArgument) {
  EXPECT_EQ(fw::QuarantineCommand("/Users/me/My \"Setup\" $x.app"),
            (std::vector<std::string>{"sudo", "-S", "xattr", "-r", "-d", "com.apple.quarantine",
                                      "/Users/me/My \"Setup\" $x.app"}));
  EXPECT_EQ(fw::QuarantineCommand("-rf").back(), "./-rf");
}

}  // namespace
}  // namespace ostrel::test
