// Nothing of the user's is lost when a setup is careless or its payload bad:
// a target name that is not one plain name, an archive of another shape, a
// payload that cannot be read, a run killed half-way, a target that cannot
// be moved aside. Sentinel files lie around the chosen folder, in the
// applications folder and in the home folder, and an earlier installation is
// there to be replaced.
#include <signal.h>

#include <filesystem>

#include "framework/own_files.h"
#include "payload/expansion_wait.h"
#include "payload/zip/zip_expand.h"
#include "payload/zip/zip_opener.h"
#include "support/forked_child.h"
#include "support/small_volumes.h"
#include "support/snapshot.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

class PayloadStagedReplaceTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    for (const char* sentinel : {"dest/mine.txt", "dest/MyApp.zip", "dest/Projects/plan.txt", "sibling/keep.txt",
                                 "home/notes.txt", "home/Applications/Other/keep.txt"})
      WriteFile(At(sentinel), std::string("the user's own ") + sentinel);
    WriteOld();
    RegisterZipOpener();
  }

  void WriteOld() {
    fs::remove_all(At("dest/MyApp"));
    WriteFile(At("dest/MyApp/old.txt"), "the earlier installation");
    WriteFile(At("dest/MyApp/bin/tool"), "old tool");
  }
  std::string Data2() const { return Resources() + "/Data2"; }
  void WriteData2(const std::vector<ZipEntry>& entries) { WriteScrambledZip("Data2", entries); }
  // With `many` small files more, so that a run can be stopped half-way.
  std::vector<ZipEntry> NewPayload(int many = 0) const {
    std::vector<ZipEntry> payload = {{"MyApp/", "", ZipEntry::Folder, 0755},
                                     {"MyApp/new.txt", std::string(300000, 'n')},
                                     {"MyApp/bin/tool", "new tool", ZipEntry::File, 0755}};
    for (int i = 0; i < many; ++i) payload.push_back({"MyApp/many/" + std::to_string(i), "x"});
    return payload;
  }
  // Everything in the sandbox but the bundle and, when asked, the target.
  Snapshot AllBut(const std::vector<std::string>& also = {}) const {
    std::vector<std::string> skip = {"Setup.app"};
    skip.insert(skip.end(), also.begin(), also.end());
    return TakeSnapshot(root.string(), skip);
  }
  std::unique_ptr<OstrelStubWindow> Window() {
    auto w = std::make_unique<OstrelStubWindow>();
    w->fTargetFolder = "MyApp";
    ui.folderAnswers = {At("dest")};
    return w;
  }
  std::vector<std::string> OwnLeftovers() const {
    std::vector<std::string> left;
    for (const auto& e : fs::directory_iterator(At("dest")))
      if (fw::IsOwnName(e.path().filename().string())) left.push_back(e.path().string());
    return left;
  }
};

TEST_F(PayloadStagedReplaceTest, ATargetNameThatIsNotOnePlainNameChangesNothing) {
  WriteData2(NewPayload());
  const Snapshot before = AllBut();
  const std::string nul("My\0App", 6);
  for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("/"),
                                  std::string("Name/"), std::string("../sibling"), nul, std::string(256, 'x')}) {
    for (bool applications : {false, true}) {
      SCOPED_TRACE("\"" + name + "\"" + (applications ? " in Applications" : ""));
      auto window = Window();
      window->fTargetFolder = name;
      window->fApplicationFolder = applications;
      ui.messages.clear();
      window->ExpandFolder();
      EXPECT_EQ(ui.messages, std::vector<std::string>{"Installation Failed\n\nThe setup names no valid target folder."});
      EXPECT_TRUE(window->fInstallationFailed);
      EXPECT_EQ(SnapshotDiff(before, AllBut()), "");
    }
  }
  EXPECT_TRUE(ui.folderDialogs.empty());
  WriteData2({{std::string(255, 'x') + "/new.txt", "new"}});
  auto window = Window();
  window->fTargetFolder = std::string(255, 'x');  // the longest plain name is fine
  window->ExpandFolder();
  EXPECT_FALSE(window->fInstallationFailed);
  EXPECT_TRUE(fs::exists(At("dest/" + std::string(255, 'x') + "/new.txt")));
}

TEST_F(PayloadStagedReplaceTest, AnArchiveOfAnotherShapeIsRefusedAndTheEarlierInstallationKept) {
  const Snapshot before = AllBut();
  const struct {
    const char* what;
    std::vector<ZipEntry> entries;
    const char* reason;
  } shapes[] = {
      {"another top folder", {{"Projects/plan.txt", "overwritten"}}, "its entry \"Projects/plan.txt\" lies outside"},
      {"an entry beside the target", {{"MyApp/a.txt", "a"}, {"mine.txt", "overwritten"}}, "\"mine.txt\" lies outside"},
      {"a file where the target belongs", {{"MyApp", "a file"}}, "holds a file \"MyApp\""},
      {"no entry at all", {}, "it is empty"},
      {"only resource forks", {{"__MACOSX/MyApp/._a", "fork"}}, "it is empty"},
      {"a link beside the target", {{"MyApp/a", "a"}, {"link", "MyApp", ZipEntry::Link}}, "\"link\" lies outside"},
      {"a top folder that only begins with the target's name", {{"MyAppX/a.txt", "a"}}, "\"MyAppX/a.txt\" lies outside"},
      {"the same, with a link", {{"MyAppX/a", "a"}, {"MyAppX/l", "a", ZipEntry::Link}}, "\"MyAppX/a\" lies outside"},
  };
  for (const auto& shape : shapes) {
    SCOPED_TRACE(shape.what);
    WriteData2(shape.entries);
    ui.messages.clear();
    auto window = Window();
    window->ExpandFolder();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_NE(ui.messages[0].find("The archive MyApp.zip could not be expanded: "), std::string::npos) << ui.messages[0];
    EXPECT_NE(ui.messages[0].find(shape.reason), std::string::npos) << ui.messages[0];
    EXPECT_NE(ui.messages[0].find("The previous installation was kept."), std::string::npos);
    EXPECT_TRUE(window->fInstallationFailed);
    EXPECT_EQ(SnapshotDiff(before, AllBut()), "");
  }
  // An empty or missing payload tells why, and keeps it all as well.
  for (const char* what : {"empty", "missing"}) {
    SCOPED_TRACE(what);
    if (std::string(what) == "empty") WriteFile(Data2(), ""); else fs::remove(Data2());
    ui.messages.clear();
    Window()->ExpandFolder();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_NE(ui.messages[0].find("The previous installation was kept."), std::string::npos) << ui.messages[0];
    EXPECT_EQ(SnapshotDiff(before, AllBut()), "");
  }
}

// Where a replacement stands, from what its stage folder holds (the layout
// of payload/staged_install.h).
std::string StageOf(const std::string& folder) {
  for (const auto& e : fs::directory_iterator(folder)) {
    if (!fw::IsOwnName(e.path().filename().string()) || !e.is_directory()) continue;
    const fs::path s = e.path();
    if (fs::exists(s / "whole")) return "in place";
    if (fs::exists(s / "new/MyApp")) return "expanding";
    if (fs::exists(s / "new/MyApp.zip")) return "copying";
    if (fs::exists(s / "old/MyApp")) return "aside";
  }
  return "none";
}

TEST_F(PayloadStagedReplaceTest, AQuitPressedDuringTheExpansionPutsTheEarlierInstallationBack) {
  const std::vector<ZipEntry> payload = NewPayload(1500);
  WriteData2(payload);
  const Snapshot before = AllBut();
  auto window = Window();
  platform.onDoEvents = [&] {
    if (StageOf(At("dest")) == "expanding") throw fw::QuitRequest{0};
  };
  EXPECT_EQ(Run([&] { window->ExpandFolder(); }), 0);
  platform.onDoEvents = nullptr;
  EXPECT_EQ(SnapshotDiff(before, AllBut()), "");
  EXPECT_EQ(OwnLeftovers(), std::vector<std::string>{});
}

TEST_F(PayloadStagedReplaceTest, AKillAtAnyStageIsRecoveredByTheNextRunOldOrNewNeverNeither) {
  const std::vector<ZipEntry> payload = NewPayload(1500);
  WriteData2(payload);
  const Tree oldTree = TreeOf(At("dest/MyApp"));
  const Snapshot before = AllBut({"dest/MyApp"});

  for (const std::string stage : {"aside", "copying", "expanding", "in place"}) {
    SCOPED_TRACE("killed while " + stage);
    WriteOld();
    auto first = Window();
    const ChildEnd killed = RunInChild({}, [&] {
      platform.onDoEvents = [&] {
        if (StageOf(At("dest")) == stage) raise(SIGKILL);
      };
      first->ExpandFolder();
      return 0;
    });
    EXPECT_EQ(killed.signal, SIGKILL);
    // The next run recovers as soon as the folder is chosen; it is then
    // declined, and has no payload to install should it get that far.
    fs::rename(Data2(), Data2() + ".away");
    auto next = Window();
    next->fPromptToReplace = true;
    ui.answers = {ScriptedUI::Press("CancelBtn")};
    next->ExpandFolder();
    fs::rename(Data2() + ".away", Data2());
    const Tree now = TreeOf(At("dest/MyApp"));
    if (stage == "in place") {
      // The payload's files and the folders bin and many, below its top folder.
      EXPECT_EQ(now.size(), payload.size() + 1) << "not the new tree";
    } else {
      EXPECT_TRUE(now == oldTree) << now.size() << " files, not the old tree";
    }
    EXPECT_EQ(OwnLeftovers(), std::vector<std::string>{});
    EXPECT_EQ(SnapshotDiff(before, AllBut({"dest/MyApp"})), "");
  }
}

// A target that cannot be moved aside (here a volume mounted in its place)
// is never deleted in its place: the user is told why it was kept, at once,
// and the run ends.
using FaultMountedTargetTest = WithSmallVolumes<CoreTest>;

TEST_F(FaultMountedTargetTest, ATargetThatCannotBeMovedAsideIsKeptAndTheRunEnds) {
  WriteScrambledZip("Data2", {{"MyApp/a.txt", "new"}});
  if (!Mounted(At("dest/MyApp"), 1024)) return;
  WriteFile(At("dest/MyApp/old.txt"), "the earlier installation");

  window->fTargetFolder = "MyApp";
  ui.folderAnswers = {At("dest")};
  const int64_t start = platform.ticks;
  window->ExpandFolder();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].find("could not be moved aside to be replaced (Operation not permitted), so it was kept"),
            std::string::npos)
      << ui.messages[0];
  EXPECT_TRUE(window->fInstallationFailed);
  EXPECT_LE(platform.ticks - start, 60);
  EXPECT_EQ(ReadFile(At("dest/MyApp/old.txt")), "the earlier installation");
  EXPECT_EQ(std::distance(fs::directory_iterator(At("dest")), fs::directory_iterator()), 1);
}

TEST_F(FaultMountedTargetTest, AnArchiveLargerThanTheVolumesFreeSpaceIsRefusedBeforeWriting) {
  if (!Mounted(At("volume"), 1024)) return;
  WriteZip(At("big.zip"), {{"a.bin", RandomBytes(1536 * 1024, 3)}});
  const ExpandResult r = ExpandZipArchive(At("big.zip"), At("volume/dest"));
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("it needs"), std::string::npos) << r.error;
  EXPECT_TRUE(fs::is_empty(At("volume/dest")));
}

}  // namespace
}  // namespace ostrel::test
