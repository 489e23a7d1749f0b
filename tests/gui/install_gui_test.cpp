// The real stub in a built bundle, driven under Xvfb by clicks and keys the
// way a person would use it: an installation after the documents and the
// replace question, every way out before it, and the ways a careless setup
// or a bad payload used to cost a user their files (a target name that is
// not one plain name, a payload beside the target, a damaged, empty, missing
// or too large payload over an earlier installation). Sentinel files lie
// around the chosen folder, in the applications folder and in the home
// folder, the user's own archive of the target's name among them; each run
// ends with exit code 0.
#include <gtest/gtest.h>

#include <thread>

#include "bundler/demo_payload.h"
#include "fileutil/view_const.h"
#include "gui/stub_driver.h"
#include "payload/archives.h"
#include "support/small_volumes.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

class InstallGuiTest : public WithSmallVolumes<StubDriverTest> {
 protected:
  void SetUp() override {
    StubDriverTest::SetUp();
    for (const char* sentinel : {"target/mine.txt", "target/GuiApp.zip", "target/Projects/plan.txt",
                                 "target-sibling/keep.txt", "home/notes.txt", "home/Applications/Other/keep.txt",
                                 "target/GuiApp/old.txt", "target/GuiApp/bin/tool"})
      WriteFile(At(sentinel), std::string("the user's own ") + sentinel);
    bundler::MakeDemoPayload(At("payload-source"), 20);
  }
  // Everything the user has; what the stub and the test make for themselves is left out.
  Snapshot UsersFiles(const std::vector<std::string>& also = {}) const {
    std::vector<std::string> skip = {"dist", "runtime", "tmp", "payload-source", "home/.config", "home/.cache",
                                     "home/.local"};
    skip.insert(skip.end(), also.begin(), also.end());
    return TakeSnapshot(root.string(), skip);
  }
  // Presses Install; the folder chooser gets `folder` when it comes.
  void Install(const std::string& folder) {
    const std::string main = Expect("^Gui Setup Test$", "main-window");
    x->Click(main, kInstallX, kMainButtonsY);
    if (!folder.empty()) ChooseFolder(folder);
  }
  // Notes, an HTML agreement and the question before replacing.
  bundler::SetupDescription WithDocuments() {
    auto d = TestSetup();
    d.copyright = "Copyright 2026 Ostrel Tests";
    d.linkURL = "example.com";
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

TEST_F(InstallGuiTest, TheDocumentsAndTheReplaceQuestionLeadToAByteForByteInstallation) {
  const Snapshot before = UsersFiles({"target/GuiApp"});
  BuildAndStart(WithDocuments());
  PassTheDocuments(692);  // I Agree
  ChooseFolder(At("target"));
  const std::string confirm = Expect("^Confirmation$", "replace-question");
  EXPECT_EQ(x->WindowSize(confirm), std::make_pair(452, 155));
  x->Click(confirm, 392, 125);  // OK
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  if (auto main = x->FindWindow("^Gui Setup Test$", std::chrono::seconds(2))) Shot(*main, "installing");
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(TreeDiff(At("payload-source"), At("target/GuiApp")), "");
  EXPECT_EQ(SnapshotDiff(before, UsersFiles({"target/GuiApp"})), "");
}

TEST_F(InstallGuiTest, EveryWayOutBeforeTheInstallationChangesNothing) {
  const Snapshot before = UsersFiles();
  const auto d = WithDocuments();
  BuildAndStart(d);
  PassTheDocuments(580);  // Quit
  EXPECT_EQ(Finish(), 0);
  BuildAndStart(d);
  PassTheDocuments(692);
  x->Key(Expect("^Select Folder$", "folder-chooser"), "Escape");
  EXPECT_EQ(Finish(), 0);
  BuildAndStart(d);
  PassTheDocuments(692);
  ChooseFolder(At("target"));
  x->Key(Expect("^Confirmation$", "replace-question"), "Escape");
  EXPECT_EQ(Finish(), 0);
  BuildAndStart(d);
  x->Key(Expect("^Gui Setup Test$", "main-window"), "ctrl+q");
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(SnapshotDiff(before, UsersFiles()), "");
}

TEST_F(InstallGuiTest, ACarelessTargetNameChangesNothing) {
  const Snapshot before = UsersFiles();
  const struct {
    std::string name;
    bool applicationFolder;
  } cases[] = {{"", true}, {"", false}, {"/", false}, {"GuiApp/", false}, {"../target-sibling", false},
               {std::string("Gui\0App", 7), false}};
  for (const auto& c : cases) {
    SCOPED_TRACE("\"" + c.name + "\"" + (c.applicationFolder ? " in Applications" : ""));
    auto d = TestSetup();
    d.applicationFolder = c.applicationFolder;
    BuildAndStart(d);
    SetTextField(7, c.name);
    Install("");  // refused before any folder is asked for
    AnswerMessage("no-valid-target");
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(SnapshotDiff(before, UsersFiles()), "");
  }
}

TEST_F(InstallGuiTest, APayloadBesideTheTargetIsRefusedAndTheEarlierInstallationKept) {
  const Snapshot before = UsersFiles();
  BuildAndStart(TestSetup());
  WriteZip(Data2Path(), {{"GuiApp/new.txt", "new"}, {"Projects/plan.txt", "overwritten"}, {"mine.txt", "gone"}});
  ViewConst::EncryptDecryptFileEnd(Data2Path(), true);
  Install(At("target"));
  AnswerMessage("refused-shape");
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(SnapshotDiff(before, UsersFiles()), "");
}

TEST_F(InstallGuiTest, ABadPayloadKeepsTheEarlierInstallation) {
  const Snapshot before = UsersFiles();
  for (const std::string bad : {"damaged", "empty", "missing"}) {
    SCOPED_TRACE(bad);
    BuildAndStart(TestSetup());
    const std::string bytes = ReadFile(Data2Path());
    if (bad == "damaged") WriteFile(Data2Path(), bytes.substr(0, bytes.size() / 2));
    if (bad == "empty") WriteFile(Data2Path(), "");
    if (bad == "missing") fs::remove(Data2Path());
    Install(At("target"));
    AnswerMessage(bad + "-payload");
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(SnapshotDiff(before, UsersFiles()), "");
  }
}

TEST_F(InstallGuiTest, APayloadTooLargeForTheVolumeKeepsTheEarlierInstallation) {
  if (!Mounted(At("volume"), 1024)) return;
  WriteFile(At("volume/GuiApp/old.txt"), "the earlier installation");
  WriteFile(At("volume/mine.txt"), "the user's own file");
  const Snapshot before = UsersFiles();
  BuildAndStart(TestSetup());
  ASSERT_GT(fs::file_size(Data2Path()), 1024u * 1024);
  Install(At("volume"));
  AnswerMessage("too-large");
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(SnapshotDiff(before, UsersFiles()), "");
}

TEST_F(InstallGuiTest, AHugeWindowTitleIsCutAndTheRunEndsWithZero) {
  auto d = TestSetup();
  d.windowTitle = "Huge Title " + std::string(16 << 20, 'x');
  BuildAndStart(d);
  const std::string main = Expect("^Huge Title x", "main-window");
  EXPECT_LT(x->WindowTitle(main).size(), 4096u);
  x->Click(main, kQuitX, kMainButtonsY);
  EXPECT_EQ(Finish(), 0);
}

}  // namespace
}  // namespace ostrel::test
