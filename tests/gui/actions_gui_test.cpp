// The real stub with programs of the setup's own that talk over the real X11
// clipboard (through xclip), the action list run for real, and the real
// clean-up program deleting the setup once the stub has ended.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "bundler/description_file.h"
#include "gui/stub_driver.h"

namespace ostrel::test {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

class ActionsGuiTest : public StubDriverTest {
 protected:
  // An executable shell script; `answer` lines use the clipboard.
  std::string Script(const std::string& path, const std::string& body) {
    WriteFile(path, "#!/bin/sh\n" + body);
    chmod(path.c_str(), 0755);
    return path;
  }
  static std::string Say(const std::string& text) {
    return "printf '%s' '" + text + "' | xclip -selection clipboard 2>/dev/null\n";
  }
  bundler::SetupDescription PlainSetup() {
    WriteFile(At("payload-source/readme.txt"), "read me");
    return TestSetup();
  }
  // Waits until `path` is gone; false when it is still there after `limit`.
};

TEST_F(ActionsGuiTest, ABeforeProgramThatHoldsTheWaitIsShownItsAnswerThenTheWindow) {
  auto d = PlainSetup();
  // Beside the bundle, named by a macro: the stub tells it where the setup stands.
  d.executeBefore = "SetupFolder/before.sh";
  Script(At("dist/before.sh"), "xclip -o -selection clipboard > \"$HOME/seen\"\n" + Say("OstrelWait") + "sleep 4\n" +
                                   Say("OstrelDone:Ready"));
  const auto start = steady_clock::now();
  BuildAndStart(d);

  const std::string box = Expect("^Install$", "before-program-says-ready");
  EXPECT_GE(steady_clock::now() - start, 3500ms);
  EXPECT_FALSE(x->FindWindow("^Gui Setup Test$", 300ms));  // the window waits for the answer to be read
  EXPECT_EQ(ReadFile(At("home/seen")), At("dist/before.sh"));
  x->Key(box, "Return");
  const std::string main = Expect("^Gui Setup Test$", "main-window-after-ready");
  x->Click(main, kQuitX, kMainButtonsY);
  EXPECT_EQ(Finish(), 0);
}

TEST_F(ActionsGuiTest, ABeforeProgramThatAbortsEndsTheRunWithNothingInstalled) {
  auto d = PlainSetup();
  d.executeBefore = "before.sh";
  d.applicationFolder = true;  // an installation would need no question at all
  d.resources = {Script(At("res/before.sh"), Say("OstrelWait") + "sleep 1\n" + Say("OstrelAbort:No"))};
  BuildAndStart(d);
  const std::string box = Expect("^Install$", "before-program-says-no");
  x->Key(box, "Return");
  EXPECT_EQ(Finish(), 0);
  EXPECT_TRUE(fs::is_empty(At("home/Applications")));
}

TEST_F(ActionsGuiTest, EveryActionRunsInOrderAndTheSetupIsGoneAfterwards) {
  auto d = PlainSetup();
  const std::string home = At("home");
  WriteFile(At("payload-source/setup.sh"), "touch '" + home + "/script-line-1'\r\ntouch '" + home + "/script-line-2'\r\n");
  Script(At("payload-source/after.sh"), Say("OstrelWait") + "sleep 1\n" + Say("OstrelDone:Installed"));
  WriteFile(At("payload-source/Docs/guide.txt"), "guide");
  WriteFile(At("target/GuiApp/old.txt"), "the earlier installation");
  WriteFile(At("home/Old.app/Contents/x"), "old");
  WriteFile(At("home/Trash.txt"), "trash");
  for (const char* s : {"keep.txt", "dist/keep.txt", "target/keep.txt", "home/keep.txt"}) WriteFile(At(s), "sentinel");
  d.executeAfter = "InstallFolder/after.sh";
  d.cleanup = 1;
  d.postInstallActions = "preinstalldelete=" + home + "/Old.app|preinstallcopy=" + At("target/GuiApp") + ";" + home +
                         "/GuiApp.saved|createfolder=UserAccount/Made/deep|readme.txt=UserAccount/Copies/readme.txt"
                         "|Docs=[UserAccount/Made]UserAccount/Made/Docs|Docs=[UserAccount/Nothing]UserAccount/No"
                         "|shell=touch '" + home + "/shell-ran'|shellfile=setup.sh|allusersfullaccess=UserAccount/Made"
                         "|delete=UserAccount/Trash.txt";
  BuildAndStart(d);

  x->Click(Expect("^Gui Setup Test$", "main-window"), kInstallX, kMainButtonsY);
  ChooseFolder(At("target"));
  const std::string box = Expect("^Install$", "after-program-says-installed");
  x->Key(box, "Return");
  EXPECT_EQ(Finish(), 0);

  EXPECT_EQ(ReadFile(At("target/GuiApp/readme.txt")), "read me");
  EXPECT_FALSE(fs::exists(At("target/GuiApp/old.txt")));
  // The saved copy was made before the expansion replaced the folder.
  EXPECT_EQ(ReadFile(home + "/GuiApp.saved/old.txt"), "the earlier installation");
  EXPECT_FALSE(fs::exists(home + "/Old.app"));
  EXPECT_TRUE(fs::is_directory(home + "/Made/deep"));
  EXPECT_EQ(ReadFile(home + "/Copies/readme.txt"), "read me");
  EXPECT_EQ(ReadFile(home + "/Made/Docs/guide.txt"), "guide");
  EXPECT_FALSE(fs::exists(home + "/No"));
  EXPECT_TRUE(fs::exists(home + "/shell-ran"));
  EXPECT_TRUE(fs::exists(home + "/script-line-1"));
  EXPECT_TRUE(fs::exists(home + "/script-line-2"));
  EXPECT_EQ(fs::status(home + "/Made").permissions() & fs::perms::all, fs::perms::all);
  EXPECT_FALSE(fs::exists(home + "/Trash.txt"));

  // Once the stub has ended the clean-up program takes the bundle, then itself.
  EXPECT_TRUE(GoneWithin(bundlePath, 15s)) << bundlePath;
  const std::string temp = At("tmp/ostrel-" + std::to_string(getuid()));
  // It removes its own bundle, then its archive, then its instruction: each
  // is waited for, the program may be between two of them.
  for (const char* own : {"/PostInstallCleanup.app", "/PostInstallCleanup.zip", "/PostInstallCleanup.data"})
    EXPECT_TRUE(GoneWithin(temp + own, 5s)) << own;
  for (const char* s : {"keep.txt", "dist/keep.txt", "target/keep.txt", "home/keep.txt"})
    EXPECT_EQ(ReadFile(At(s)), "sentinel") << s;
}

// The menu-entry example: its shell line finds the installation in its
// environment, and the entry it writes is valid and points into it.
TEST_F(ActionsGuiTest, TheMenuEntryExamplePointsIntoTheInstallation) {
  const std::string example = std::string(OSTREL_SOURCE_DIR) + "/examples/menu-entry";
  fs::create_directories(At("target"));
  BuildAndStart(bundler::ReadDescriptionFile(example + "/menu-entry.setup"));
  x->Click(Expect("^Acme Notes$", "main-window"), kInstallX, kMainButtonsY);
  ChooseFolder(At("target"));
  EXPECT_EQ(Finish(), 0);

  const std::string installed = At("target/Acme Notes");
  EXPECT_EQ(TreeDiff(example + "/app", installed), "");
  const std::string entry = At("home/.local/share/applications/org.example.AcmeNotes.desktop");
  const std::string text = ReadFile(entry);
  EXPECT_NE(text.find("Exec=\"" + installed + "/bin/acme-notes\"\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Icon=" + installed + "/share/acme-notes.svg\n"), std::string::npos) << text;
  Process validate({"desktop-file-validate", entry}, {});
  EXPECT_EQ(validate.Wait(30s), 0) << "desktop-file-validate refused " << entry;
}

}  // namespace
}  // namespace ostrel::test
