// The action list walked after installing and before: every keyword, each
// form of a copy, the messages, and the user's folders kept whatever the
// list says. Sentinel files around every folder prove nothing else moved.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "actions/action_list.h"
#include "core/ostrel_stub_window.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

const std::string kContact = "Install Error\n\nContact Publisher";
const char* const kSentinels[] = {"home/keep.txt", "home/Desktop/keep.txt", "target/keep.txt", "out/keep.txt",
                                  "shared/keep.txt"};

class ActionWalkTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    window.fTargetFolder = At("target/App");
    WriteFile(At("target/App/readme.txt"), "read me");
    WriteFile(At("target/App/Docs/guide.txt"), "guide");
    WriteFile(At("target/App/Docs/sub/more.txt"), "more");
    for (const char* s : kSentinels) WriteFile(At(s), "sentinel");
  }
  void TearDown() override {
    for (const char* s : kSentinels) EXPECT_EQ(ReadFile(At(s)), "sentinel") << s;
    EXPECT_EQ(ReadFile(At("target/App/readme.txt")), "read me");
    SandboxTest::TearDown();
  }
  void Post(const std::string& list) {
    window.fPostCopy = list;
    window.PostInstallCopy();
  }
  void Pre(const std::string& list) {
    window.fPostCopy = list;
    window.PreInstallCopy();
  }
  static int Mode(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 0777) : -1;
  }
  OstrelStubWindow window;
};

TEST_F(ActionWalkTest, EveryKeywordActsInListOrderAndThePreInstallOnesWait) {
  WriteFile(At("home/Old/stale/file.txt"), "old");
  WriteFile(At("home/old.txt"), "old");
  WriteFile(At("home/Again/x.txt"), "x");
  WriteFile(At("target/App/setup.sh"), "one\r\ntwo\nstill two\r\n");
  fs::create_directories(At("home/Open"));
  chmod(At("home/Open").c_str(), 0700);
  Post("DELETE=UserAccount/Old|delete=" + At("home/old.txt") + "|delete=" + At("nothing-here") +
       "|createfolder=userAccount/Made/deep|shell=FOO=1 tool|shellfile=setup.sh|allusersfullaccess=UserAccount/Open"
       "|preinstalldelete=" + At("home/keep.txt") + "|PreInstallCopy|delete=UserAccount/Again|createfolder=UserAccount/Again");

  EXPECT_TRUE(ui.messages.empty());
  EXPECT_FALSE(fs::exists(At("home/Old")));
  EXPECT_FALSE(fs::exists(At("home/old.txt")));
  EXPECT_TRUE(fs::is_directory(At("home/Made/deep")));
  EXPECT_EQ(Mode(At("home/Open")), 0777);
  // A later entry sees what an earlier one did.
  EXPECT_TRUE(fs::is_empty(At("home/Again")));
  // The value ends at a second "="; the script splits at CR LF only, and its last line end gives one more.
  EXPECT_EQ(platform.shellCommands, (std::vector<std::string>{"FOO", "one", "two\nstill two", ""}));
}

TEST_F(ActionWalkTest, ScriptsSplitAtTheirOwnLineEnds) {
  const std::pair<std::string, std::vector<std::string>> scripts[] = {
      {"a\nb\n", {"a", "b", ""}}, {"a\rb", {"a", "b"}}, {"cd /x\n\nls", {"cd /x", "", "ls"}}};
  for (const auto& [text, lines] : scripts) {
    WriteFile(At("target/App/s.sh"), text);
    platform.shellCommands.clear();
    window.DoShellFile("s.sh");
    EXPECT_EQ(platform.shellCommands, lines) << text;
  }
  platform.shellCommands.clear();
  window.DoShellFile("missing.sh");
  EXPECT_EQ(platform.shellCommands, std::vector<std::string>{""});
}

// "InstallFolder/" names the installation, as shell lines and programs find
// it in their environment; before it is known the macro leaves no full path.
TEST_F(ActionWalkTest, TheInstallFolderMacroAndVariable) {
  ostrel::actions::SetInstallFolder("");
  Post("createfolder=InstallFolder/Early");
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Install Error\n\ncreatefolder=InstallFolder/Early (not a full path)"});
  EXPECT_STREQ(getenv("OSTREL_INSTALL_FOLDER"), "");
  ostrel::actions::SetInstallFolder(At("target/App") + "/");
  ostrel::actions::SetSetupFolder(At("dist"));
  Post("createfolder=InstallFolder/Logs|readme.txt=installfolder/Docs/readme-copy.txt");
  EXPECT_TRUE(fs::is_directory(At("target/App/Logs")));
  EXPECT_EQ(ReadFile(At("target/App/Docs/readme-copy.txt")), "read me");
  EXPECT_EQ(std::string(getenv("OSTREL_INSTALL_FOLDER")), At("target/App"));
  EXPECT_EQ(std::string(getenv("OSTREL_SETUP_FOLDER")), At("dist") + "/");
  ostrel::actions::SetInstallFolder("");
}

TEST_F(ActionWalkTest, EntriesThatFitNoRowAskForThePublisher) {
  Post("|delete=|shell|=x|createfolder=|allusersfullaccess=|shellfile=||preinstalldelete=|preinstallcopy|");
  EXPECT_EQ(ui.messages, std::vector<std::string>(9, kContact));
  EXPECT_TRUE(platform.shellCommands.empty());
}

TEST_F(ActionWalkTest, CopiesHonourTheirConditionsAndReplaceWhatStands) {
  WriteFile(At("out/existing.txt"), "mine");
  WriteFile(At("out/over.txt"), "old");
  Post("readme.txt=UserAccount/Copies/readme.txt|Docs=[" + At("nothere") + "]" + At("out/NoDocs") + "|Docs=[UserAccount/]" +
       At("out/Docs") + "]dropped|readme.txt={" + At("out/existing.txt") + "}|readme.txt={" + At("out/fresh.txt") +
       "}dropped|readme.txt=" + At("out/over.txt") + "|readme.txt=[" + At("nothere") + "]{" + At("out/fresh2.txt") + "}");

  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(ReadFile(At("home/Copies/readme.txt")), "read me");
  EXPECT_FALSE(fs::exists(At("out/NoDocs")));
  EXPECT_EQ(ReadFile(At("out/Docs/sub/more.txt")), "more");
  EXPECT_EQ(ReadFile(At("out/existing.txt")), "mine");
  EXPECT_EQ(ReadFile(At("out/fresh.txt")), "read me");
  EXPECT_EQ(ReadFile(At("out/over.txt")), "read me");
  // Where both conditions stand, the second one decides.
  EXPECT_EQ(ReadFile(At("out/fresh2.txt")), "read me");
}

TEST_F(ActionWalkTest, FailedCopiesAreToldAndTheWalkGoesOn) {
  WriteFile(At("out/blocker"), "a file where a folder should be");
  // The folder chain reports the file in its way, once for each copy.
  ui.answers = {fw::testing::ScriptedUI::PressCaption("OK"), fw::testing::ScriptedUI::PressCaption("OK")};
  // A macro the list does not know leaves a path that is not a full one.
  Post("missing.txt=" + At("out/m/missing.txt") + "|Docs=" + At("out/blocker/Docs") +
       "|readme.txt=" + At("out/blocker/readme.txt") + "|createfolder=SetupFolder/Logs|readme.txt=" + At("out/ok.txt"));
  EXPECT_EQ(ui.messages, (std::vector<std::string>{"Install Error\n\nMissing File: missing.txt",
                                                   "Install Error\n\nFolder Copy Failed: Docs",
                                                   "Install Error\n\nFile Copy Failed: readme.txt",
                                                   "Install Error\n\ncreatefolder=SetupFolder/Logs (not a full path)"}));
  ASSERT_EQ(ui.modals.size(), 2u);
  EXPECT_EQ(ui.modals[1].Get("MessageText").caption,
            "FILE ALREADY EXISTS.\n\nA file already exists at this path: " + At("out/blocker"));
  EXPECT_FALSE(fs::exists(At("out/m")));
  EXPECT_EQ(ReadFile(At("out/ok.txt")), "read me");
}

TEST_F(ActionWalkTest, TheUsersFoldersAreNeverDeletedOpenedOrCopiedOnto) {
  platform.keptFolders = {At("home/Documents")};
  WriteFile(At("home/Documents/keep.txt"), "doc");
  const int homeMode = Mode(At("home"));
  Post("delete=UserAccount/|delete=UserAccount/Documents|delete=" + At("") + "|allusersfullaccess=UserAccount/" +
       "|readme.txt=UserAccount/|Docs=UserAccount/Desktop");
  EXPECT_EQ(ui.messages, std::vector<std::string>(6, kContact));
  Pre("preinstalldelete=" + At("home/Documents") + "|preinstalldelete=" + At("home"));
  EXPECT_EQ(ui.messages.size(), 6u);
  EXPECT_EQ(ReadFile(At("home/Documents/keep.txt")), "doc");
  EXPECT_EQ(Mode(At("home")), homeMode);
  EXPECT_FALSE(fs::exists(At("home/readme.txt")));
  EXPECT_FALSE(fs::exists(At("home/Desktop/guide.txt")));
}

TEST_F(ActionWalkTest, TheBounceReturnsTheApplicationAndLeavesTheSharedFolderAsItWas) {
  WriteFile(At("apps/Tool.app/Contents/MacOS/Tool"), "tool");
  WriteFile(At("shared/Tool.app/stale"), "from before");
  ostrel::actions::BounceThroughSharedFolder(At("apps/Tool.app"));
  EXPECT_EQ(ReadFile(At("apps/Tool.app/Contents/MacOS/Tool")), "tool");
  EXPECT_FALSE(fs::exists(At("apps/Tool.app/stale")));
  EXPECT_FALSE(fs::exists(At("shared/Tool.app")));
  EXPECT_GE(platform.ticks, 120);
  // A destination without a name never reaches the shared folder itself.
  ostrel::actions::BounceThroughSharedFolder(At("apps/Tool.app") + "/");
  EXPECT_TRUE(fs::exists(At("apps/Tool.app/Contents/MacOS/Tool")));
}

TEST_F(ActionWalkTest, BeforeInstallingOnlyThePreInstallEntriesActAndSilently) {
  WriteFile(At("old/Old.app/Contents/x"), "x");
  WriteFile(At("prefs/a.txt"), "v1");
  WriteFile(At("home/x"), "not reached: no macro before installing");
  const std::string list = "preinstalldelete=" + At("old/Old.app") + "|PreInstallDelete=UserAccount/x|preinstallcopy=" +
                           At("prefs") + ";" + At("prefs.saved") + ";dropped|preinstallcopy=" + At("prefs/a.txt") +
                           ";" + At("a.saved") + "|preinstallcopy=" + At("prefs") + "|preinstallcopy=" +
                           At("prefs/a.txt") + ";" + At("no/parent/a.txt") + "|delete=" + At("prefs") +
                           "|shell=x|bogus|preinstalldelete=" + At("nothing");
  Pre(list);
  WriteFile(At("prefs/a.txt"), "v2");
  Pre(list);  // a second run keeps what the first one saved
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_TRUE(platform.shellCommands.empty());
  EXPECT_FALSE(fs::exists(At("old/Old.app")));
  EXPECT_EQ(ReadFile(At("home/x")), "not reached: no macro before installing");
  EXPECT_EQ(ReadFile(At("prefs.saved/a.txt")), "v1");
  EXPECT_EQ(ReadFile(At("a.saved")), "v1");
  EXPECT_EQ(ReadFile(At("prefs/a.txt")), "v2");
  EXPECT_FALSE(fs::exists(At("no")));  // no folder is made for a copy, and its failure is silent
}

}  // namespace
}  // namespace ostrel::test
