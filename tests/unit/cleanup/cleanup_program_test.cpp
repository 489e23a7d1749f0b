// The clean-up program's run in a sandbox: it deletes the setup bundle or
// the folder that holds it, and nothing it must not, whatever its
// instruction says; then it removes itself.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cleanup/cleanup.h"
#include "payload/archives.h"
#include "support/sandbox.h"

extern char** environ;

namespace ostrel::test {
namespace {

using namespace std::chrono_literals;

const char* const kSentinels[] = {"keep.txt", "home/keep.txt", "other/keep.txt", "tmp/keep.txt"};

class CleanupProgramTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    WriteFile(At("tmp/PostInstallCleanup.app/Contents/MacOS/PostInstallCleanup"), "program");
    WriteFile(At("tmp/PostInstallCleanup.zip"), std::string("the archive it came from \x00\xFF", 27));
    // The setup that was started carries that archive, scrambled.
    MakeSetup("dl/Setup.app");
    WriteFile(At("dl/readme.txt"), "came with the setup");
    kept = {At("home"), At("home/Downloads")};
    for (const char* s : kSentinels) WriteFile(At(s), "sentinel");
  }
  void TearDown() override {
    for (const char* s : kSentinels) EXPECT_EQ(ReadFile(At(s)), "sentinel") << s;
    SandboxTest::TearDown();
  }
  void MakeSetup(const std::string& bundle) {
    const std::string data3 = At(bundle + "/Contents/Resources/Data3");
    fs::create_directories(At(bundle + "/Contents/Resources"));
    fs::copy_file(At("tmp/PostInstallCleanup.zip"), data3);
    ASSERT_EQ(RewriteThroughByteStep(data3, true), 0);
    WriteFile(At(bundle + "/Contents/MacOS/Setup"), "stub");
  }
  // Runs the program with its instruction; answers whether it removed itself.
  bool Run(const std::string& instruction) {
    WriteFile(At("tmp/PostInstallCleanup.data"), instruction);
    cleanup::RunCleanup(At("tmp/PostInstallCleanup.app"), kept, 10s);
    return !fs::exists(At("tmp/PostInstallCleanup.app")) && !fs::exists(At("tmp/PostInstallCleanup.zip")) &&
           !fs::exists(At("tmp/PostInstallCleanup.data"));
  }
  std::vector<std::string> kept;
};

TEST_F(CleanupProgramTest, DeleteFileTakesTheBundleAndNoLinkOutOfIt) {
  fs::create_symlink(At("other"), At("dl/Setup.app/Contents/Resources/link"));
  EXPECT_TRUE(Run("DeleteFile=" + At("dl/Setup.app")));
  EXPECT_FALSE(fs::exists(At("dl/Setup.app")));
  EXPECT_EQ(ReadFile(At("dl/readme.txt")), "came with the setup");
}

TEST_F(CleanupProgramTest, WhatItMustNotDeleteStaysAndItStillRemovesItself) {
  fs::create_directories(At("home/Downloads"));
  fs::rename(At("dl"), At("home/Downloads/dl"));
  MakeSetup("home/Downloads/Setup.app");
  MakeSetup("other/Copy.app");
  WriteFile(At("other/Copy.app/Contents/Resources/Data3"), "another setup's program");
  fs::create_symlink(At("home/Downloads/Setup.app"), At("other/Link.app"));
  fs::create_directories(At("other/Folder"));
  // Folders others share, each holding the started setup and another's file.
  for (const char* shared : {"sticky", "notmine"}) {
    MakeSetup(std::string(shared) + "/Setup.app");
    WriteFile(At(std::string(shared) + "/agent.socket"), "somebody else's");
  }
  chmod(At("sticky").c_str(), 01777);
  ASSERT_EQ(chown(At("notmine").c_str(), 65534, 65534), 0);
  const std::string refused[] = {
      "DeleteFolder=" + At("home/Downloads"),  // a kept folder, though it holds the setup
      "DeleteFolder=" + At("sticky"),          // shared, as /tmp is
      "DeleteFolder=" + At("notmine"),         // another user's
      "DeleteFolder=" + At("other"),          // holds a setup, but not the one started
      "DeleteFile=" + At("other/Folder"),     // a folder that is no bundle
      "DeleteFile=" + At("other/Link.app"),   // a link is neither
      "DeleteFile=other/Folder",              // not absolute
      "RemoveAll=" + At(""),
      "",
  };
  for (const std::string& instruction : refused) {
    SCOPED_TRACE(instruction);
    fs::create_directories(At("tmp/PostInstallCleanup.app"));
    WriteFile(At("tmp/PostInstallCleanup.zip"), std::string("the archive it came from \x00\xFF", 27));
    EXPECT_TRUE(Run(instruction));
    EXPECT_TRUE(fs::exists(At("home/Downloads/Setup.app/Contents/Resources/Data3")));
    EXPECT_TRUE(fs::exists(At("other/Copy.app/Contents/MacOS/Setup")));
    EXPECT_TRUE(fs::is_symlink(At("other/Link.app")));
    EXPECT_TRUE(fs::is_directory(At("other/Folder")));
    EXPECT_TRUE(fs::exists(At("home/Downloads/dl/readme.txt")));
    EXPECT_EQ(ReadFile(At("sticky/agent.socket")), "somebody else's");
    EXPECT_EQ(ReadFile(At("notmine/agent.socket")), "somebody else's");
  }
}

TEST_F(CleanupProgramTest, ItWaitsForTheProgramsRunningFromTheSetup) {
  // A program of the setup's own, still running for a moment.
  fs::copy_file("/bin/sleep", At("dl/Setup.app/Contents/MacOS/Setup"), fs::copy_options::overwrite_existing);
  const std::string program = At("dl/Setup.app/Contents/MacOS/Setup");
  char* argv[] = {const_cast<char*>(program.c_str()), const_cast<char*>("0.7"), nullptr};
  pid_t pid;
  ASSERT_EQ(posix_spawn(&pid, argv[0], nullptr, nullptr, argv, environ), 0);
  const auto start = std::chrono::steady_clock::now();
  std::thread reaper([pid] { waitpid(pid, nullptr, 0); });
  EXPECT_TRUE(Run("DeleteFile=" + At("dl/Setup.app")));
  reaper.join();
  EXPECT_GE(std::chrono::steady_clock::now() - start, 600ms);
  EXPECT_FALSE(fs::exists(At("dl/Setup.app")));
}

}  // namespace
}  // namespace ostrel::test
