// The real stub in a built bundle, driven under Xvfb by clicks and keys the
// way a person would use it.
#include <gtest/gtest.h>

#include <thread>

#include "bundler/demo_payload.h"
#include "gui/stub_driver.h"

namespace ostrel::test {
namespace {

using namespace std::chrono_literals;

class InstallGuiTest : public StubDriverTest {
 protected:
  bundler::SetupDescription PlainSetup() {
    bundler::SetupDescription d = TestSetup();
    d.copyright = "Copyright 2026 Ostrel Tests";
    d.linkURL = "example.com";
    bundler::MakeDemoPayload(At("payload-source"), 60);
    return d;
  }

  // Notes, an HTML agreement, and a payload of nested folders.
  bundler::SetupDescription FullSetup() {
    auto d = PlainSetup();
    d.preInstallNotes = {"Read these notes before you install.\nThey are short.", false};
    d.agreement = {"<HTML><body><h2>Agreement</h2><p>You agree to test.</p></body></HTML>", true};
    d.promptToReplace = true;
    return d;
  }

  // The main window as the record sizes it, Install, then the notes' OK and
  // the agreement's button at `agreementX`.
  void PassTheDocuments(int agreementX) {
    const std::string main = Expect("^Gui Setup Test$", "main-window");
    EXPECT_EQ(x->WindowSize(main), std::make_pair(396, 238));
    x->Click(main, kInstallX, kMainButtonsY);
    const std::string notes = Expect("^Pre-Installation Notes$", "notes");
    EXPECT_EQ(x->WindowSize(notes), std::make_pair(690, 210));  // short notes: 200 px less
    x->Click(notes, 630, 180);
    const std::string agreement = Expect("^License Agreement$", "agreement");
    EXPECT_EQ(x->WindowSize(agreement), std::make_pair(762, 511));
    x->Click(agreement, agreementX, 487);
  }
};

TEST_F(InstallGuiTest, APlainSetupInstallsFileByFileAfterTheReplaceQuestion) {
  BuildAndStart(FullSetup());
  fs::create_directories(At("target/GuiApp/old"));
  WriteFile(At("target/GuiApp/old/stale.txt"), "from an earlier installation");

  PassTheDocuments(692);  // I Agree
  ChooseFolder(At("target"));
  const std::string confirm = Expect("^Confirmation$", "replace-question");
  EXPECT_EQ(x->WindowSize(confirm), std::make_pair(452, 155));
  x->Click(confirm, 392, 125);  // OK
  std::this_thread::sleep_for(200ms);
  if (auto main = x->FindWindow("^Gui Setup Test$", 2s)) Shot(*main, "installing");

  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(TreeDiff(At("payload-source"), At("target/GuiApp")), "");
  EXPECT_FALSE(fs::exists(At("target/GuiApp.zip")));
}

TEST_F(InstallGuiTest, DecliningTheAgreementOrCancellingTheFolderChooserTouchesNothing) {
  const auto d = FullSetup();
  fs::create_directories(At("target"));
  BuildAndStart(d);
  PassTheDocuments(580);  // Quit
  EXPECT_EQ(Finish(), 0);
  BuildAndStart(d);
  PassTheDocuments(692);
  x->Key(Expect("^Select Folder$", "folder-chooser"), "Escape");
  EXPECT_EQ(Finish(), 0);
  EXPECT_TRUE(fs::is_empty(At("target")));
  EXPECT_TRUE(fs::is_empty(At("home/Applications")));
}

}  // namespace
}  // namespace ostrel::test
