// The installer's last act: the clean-up program unpacked from Data3 into
// the temporary folder, its one-line instruction, and its start.
#include <gtest/gtest.h>

#include "framework/testing/scratch_tree.h"
#include "payload/manifest.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

class CleanupTest : public CoreTest {
 protected:
  void WriteData3() {
    WriteScrambledZip("Data3", {{"Contents/", "", ZipEntry::Folder, 0755},
                                {"Contents/MacOS/PostInstallCleanup", "#!/bin/sh\n", ZipEntry::File, 0755}});
  }
  std::string Temp(const std::string& name) const { return At("tmp/" + name); }
};

struct Mode {
  int cleanup;
  const char* question;  // nullptr: none asked
  bool yes;
  std::string instruction;  // the line left for the clean-up program
  bool started;
};

TEST_F(CleanupTest, EachModeAsksWhatItShouldAndLeavesItsInstruction) {
  const std::string bundle = At("Setup.app");
  const Mode modes[] = {
      {0, nullptr, false, "", false},
      {1, nullptr, false, "DeleteFile=" + bundle, true},
      {2, nullptr, false, "DeleteFolder=" + root.string(), true},
      {3, "Delete this Setup file when finished?", true, "DeleteFile=" + bundle, true},
      {3, "Delete this Setup file when finished?", false, "", false},
      {4, "Delete folder containing Setup file when finished?", true, "DeleteFolder=" + root.string(), true},
      {4, "Delete folder containing Setup file when finished?", false, "", false},
      {7, nullptr, false, "", true},
  };
  WriteData3();
  for (const Mode& m : modes) {
    SCOPED_TRACE(m.cleanup);
    fw::testing::RemoveScratchTree(At("tmp"));
    fs::create_directories(At("tmp"));
    platform.launches.clear();
    ui.modals.clear();
    if (m.question) ui.answers.push_back(fw::testing::ScriptedUI::PressCaption(m.yes ? "Yes" : "No"));
    window->fCleanup = m.cleanup;
    window->Cleanup();

    ASSERT_EQ(ui.modals.size(), m.question ? 1u : 0u);
    if (m.question) {
      EXPECT_EQ(ui.modals[0].Get("MessageText").caption, m.question);
    }
    EXPECT_TRUE(ui.messages.empty());
    ASSERT_EQ(platform.launches.size(), m.started ? 1u : 0u);
    if (!m.started) {
      EXPECT_TRUE(fs::is_empty(At("tmp")));
      continue;
    }
    EXPECT_EQ(platform.launches[0].path, Temp("PostInstallCleanup.app"));
    EXPECT_EQ(ReadFile(Temp("PostInstallCleanup.data")), m.instruction);
    EXPECT_EQ(ReadFile(Temp("PostInstallCleanup.app/Contents/MacOS/PostInstallCleanup")), "#!/bin/sh\n");
    EXPECT_TRUE(fs::exists(Temp("PostInstallCleanup.zip")));
    EXPECT_FALSE(fs::exists(Temp("Data3")));
  }
  EXPECT_TRUE(fs::exists(Resources() + "/Data3"));
}

TEST_F(CleanupTest, WithoutItsProgramNothingIsStartedAndAFailedUnpackingIsTold) {
  window->fCleanup = 1;
  fs::create_directories(Resources());
  window->Cleanup();
  EXPECT_TRUE(platform.launches.empty());
  EXPECT_TRUE(ui.messages.empty());

  WriteFile(Resources() + "/Data3", "not an archive at all");
  window->Cleanup();
  EXPECT_EQ(ui.messages, std::vector<std::string>{"PostInstallCleanup Extraction Failed 2."});

  // No temporary folder to copy into: nothing to rename.
  platform.folders[fw::SpecialFolderKind::Temporary] = At("no-such-folder");
  window->Cleanup();
  EXPECT_EQ(ui.messages.back(), "PostInstallCleanup Extraction Failed 1.");
  EXPECT_TRUE(platform.launches.empty());
}

TEST_F(CleanupTest, ADamagedProgramIsNamedAndNeverStarted) {
  WriteData3();
  const std::string data3 = ReadFile(Resources() + "/Data3");
  WriteFile(Resources() + "/Manifest",
            PayloadManifest::Line({"Data3", data3.size(), std::string(64, 'a')}));
  window->fCleanup = 1;
  window->Cleanup();
  EXPECT_EQ(ui.messages, std::vector<std::string>{"The file Data3 is damaged: its checksum does not match."});
  EXPECT_TRUE(platform.launches.empty());
  EXPECT_TRUE(fs::is_empty(At("tmp")));
}

}  // namespace
}  // namespace ostrel::test
