// A whole main expansion in a sandbox bundle: the scrambled Data2 becomes the
// installed folder, the target is replaced or kept as the user says, and the
// run goes on after a failure as an installation does.
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "payload/zip/zip_opener.h"
#include "support/snapshot.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

class PayloadExpandFolderTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    fs::create_directories(At("dest"));
    RegisterZipOpener();
    window->fTargetFolder = "MyApp";
  }

  // The payload as the authoring tool packs it: the target as the archive's
  // one top-level folder, and a resource fork that is never installed.
  void WriteData2(const std::string& top = "MyApp") {
    WriteScrambledZip("Data2", {{top + "/", "", ZipEntry::Folder, 0755},
                                {"__MACOSX/" + top + "/._readme.txt", "fork"},
                                {top + "/readme.txt", source.at("readme.txt")},
                                {top + "/bin/", "", ZipEntry::Folder, 0755},
                                {top + "/bin/tool", source.at("bin/tool"), ZipEntry::File, 0755},
                                {top + "/lib/data.bin", source.at("lib/data.bin")},
                                {top + "/lib/current", "data.bin", ZipEntry::Link}});
  }

  Tree Expected() const {
    Tree tree = source;
    tree["lib/current"] = "-> data.bin";
    return tree;
  }

  Tree source = {{"readme.txt", "Read me.\n"},
                 {"bin", "<dir>"},
                 {"bin/tool", "#!/bin/sh\necho tool\n"},
                 {"lib", "<dir>"},
                 {"lib/data.bin", std::string("\x00\xFF\x01\xFE binary", 11) + std::string(3000, '\x7F')}};
};

TEST_F(PayloadExpandFolderTest, InstallsTheScrambledPayloadByteForByteOverAnOldTargetThenTheAfterProgram) {
  WriteData2();
  WriteFile(At("dest/MyApp.zip"), "the user's own archive, not the stub's");
  WriteFile(At("dest/MyApp/old.txt"), "replaced unasked, since no prompt is wanted");
  WriteFile(Resources() + "/after.sh", "#!/bin/sh\n");
  window->fExecuteAfterName = "after.sh";
  ui.folderAnswers.push_back(At("dest"));
  window->ExpandFolder();

  EXPECT_EQ(window->fTargetFolder, At("dest/MyApp"));
  EXPECT_EQ(TreeOf(At("dest/MyApp")), Expected());
  EXPECT_NE(fs::status(At("dest/MyApp/bin/tool")).permissions() & fs::perms::owner_exec, fs::perms::none);
  EXPECT_EQ(TreeOf(At("dest")).size(), Expected().size() + 2);  // the target, the user's archive, and nothing of ours
  EXPECT_EQ(ReadFile(At("dest/MyApp.zip")), "the user's own archive, not the stub's");
  EXPECT_FALSE(window->fInstallationFailed);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_TRUE(ui.modals.empty());
  EXPECT_FALSE(window->InfoBtn.Visible());
  EXPECT_TRUE(window->ProgressBar1.Visible());
  EXPECT_EQ(window->MessageLabel.Text(), "Install in Progress...");
  // Once by the archive's removal and once more for the wait on its answer.
  ASSERT_EQ(platform.launches.size(), 2u);
  for (const auto& launch : platform.launches) {
    EXPECT_EQ(launch.path, Resources() + "/after.sh");
    EXPECT_TRUE(launch.activate);
  }
}

TEST_F(PayloadExpandFolderTest, AnExistingTargetIsReplacedOnceTheUserAgrees) {
  WriteData2();
  WriteFile(At("dest/MyApp/old.txt"), "from the last version");
  window->fPromptToReplace = true;
  window->fLabels = {"", "", "", "", "Replace"};
  ui.folderAnswers.push_back(At("dest"));
  ui.answers.push_back(fw::testing::ScriptedUI::Press("OKBtn"));
  window->ExpandFolder();

  ASSERT_EQ(ui.modals.size(), 1u);
  const auto& asked = ui.modals[0];
  EXPECT_EQ(asked.title, "Confirmation");
  EXPECT_EQ(asked.Get("ConfirmLabel1").caption, "Destination folder already exists.");
  EXPECT_EQ(asked.Get("ConfirmLabel2").caption, "Delete folder to continue?");
  EXPECT_EQ(asked.Get("ConfirmLabel3").caption, At("dest/MyApp"));
  EXPECT_EQ(asked.Get("OKBtn").caption, "Replace");
  EXPECT_EQ(asked.Get("CancelBtn").caption, "Cancel");
  EXPECT_EQ(TreeOf(At("dest/MyApp")), Expected());
}

TEST_F(PayloadExpandFolderTest, DecliningTheReplacementLeavesEverythingAsItWas) {
  WriteData2();
  WriteFile(At("dest/MyApp/old.txt"), "from the last version");
  window->fPromptToReplace = true;
  ui.folderAnswers.push_back(At("dest"));
  ui.answers.push_back(fw::testing::ScriptedUI::Press("CancelBtn"));
  window->ExpandFolder();

  EXPECT_EQ(TreeOf(At("dest/MyApp")), (Tree{{"old.txt", "from the last version"}}));
  EXPECT_FALSE(fs::exists(At("dest/MyApp.zip")));
  EXPECT_EQ(window->fTargetFolder, At("dest/MyApp"));
  EXPECT_TRUE(ui.messages.empty());
}

// A link beside the target, which a later choice folder could be merged
// through into the user's own folder, is refused before anything is written.
TEST_F(PayloadExpandFolderTest, ALinkOutOfTheTargetIsRefusedWithNothingWritten) {
  WriteFile(At("dest/Documents/mine.txt"), "the user's");
  WriteScrambledZip("Data2", {{"MyApp/", "", ZipEntry::Folder, 0755},
                              {"MyApp/readme.txt", "read me"},
                              {"MyApp/docs", "../Documents", ZipEntry::Link}});
  ui.folderAnswers.push_back(At("dest"));
  window->ExpandFolder();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].find("the link \"MyApp/docs\" points outside the folder \"MyApp\""), std::string::npos)
      << ui.messages[0];
  EXPECT_TRUE(window->fInstallationFailed);
  EXPECT_EQ(TreeOf(At("dest")), (Tree{{"Documents", "<dir>"}, {"Documents/mine.txt", "the user's"}}));
}

TEST_F(PayloadExpandFolderTest, AMissingPayloadIsReportedAndTheRunEndsThere) {
  WriteFile(Resources() + "/after.sh", "#!/bin/sh\n");
  window->fExecuteAfterName = "after.sh";
  window->fLabels.assign(14, "");
  window->fLabels[13] = "Could not install";
  ui.folderAnswers.push_back(At("dest"));
  window->ExpandFolder();

  EXPECT_EQ(ui.messages, std::vector<std::string>{"Could not install\n\nThe setup's payload cannot be read (" +
                                                  std::string(std::strerror(ENOENT)) + ")."});
  EXPECT_TRUE(window->fInstallationFailed);
  EXPECT_TRUE(platform.launches.empty());  // no expansion, no after-program
  EXPECT_TRUE(fs::is_empty(At("dest")));
  EXPECT_EQ(window->fTargetFolder, At("dest/MyApp"));
}

TEST_F(PayloadExpandFolderTest, APatchClearsAStalePatchFolderUnaskedAndKeepsTheInstallation) {
  WriteData2("MyAppPatch");
  WriteFile(At("dest/MyApp/old.txt"), "installed");
  WriteFile(At("dest/MyAppPatch/stale.txt"), "left over");
  window->fInstallationPatch = true;
  window->fPromptToReplace = true;
  ui.folderAnswers.push_back(At("dest"));
  window->ExpandFolder();
  EXPECT_TRUE(ui.modals.empty());
  EXPECT_EQ(window->fTargetFolder, At("dest/MyAppPatch"));
  // The setup's actions and programs are told the installation, not the patch.
  EXPECT_EQ(std::string(getenv("OSTREL_INSTALL_FOLDER")), At("dest/MyApp"));
  // Applied and gone: the installation holds the patch's files beside its
  // own, nothing stale, and no link from the patch.
  EXPECT_FALSE(fs::exists(At("dest/MyAppPatch")));
  Tree patched = source;
  patched["old.txt"] = "installed";
  EXPECT_EQ(TreeOf(At("dest/MyApp")), patched);
  EXPECT_FALSE(fs::exists(At("dest/MyApp.zip")));
}

TEST_F(PayloadExpandFolderTest, TheApplicationsFolderIsUsedWithoutAsking) {
  WriteData2();
  window->fApplicationFolder = true;
  window->ExpandFolder();
  EXPECT_TRUE(ui.folderDialogs.empty());
  EXPECT_EQ(window->fTargetFolder, At("home/Applications/MyApp"));
  EXPECT_EQ(TreeOf(At("home/Applications/MyApp")), Expected());
  EXPECT_FALSE(fs::exists(At("home/Applications/MyApp.zip")));
}

TEST_F(PayloadExpandFolderTest, CancellingTheFolderChoiceTouchesNothing) {
  WriteData2();
  WriteFile(At("dest/MyApp/old.txt"), "kept");
  ui.folderAnswers.push_back(std::nullopt);
  window->ExpandFolder();
  EXPECT_EQ(window->fTargetFolder, "");
  EXPECT_EQ(TreeOf(At("dest")), (Tree{{"MyApp", "<dir>"}, {"MyApp/old.txt", "kept"}}));
  EXPECT_TRUE(platform.launches.empty());
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_FALSE(window->ProgressBar1.Visible());
}

}  // namespace
}  // namespace ostrel::test
