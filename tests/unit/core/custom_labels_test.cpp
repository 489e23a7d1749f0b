// Every custom label in its place: a record whose labels all differ shows
// each one where it belongs, so that a label taken from the wrong index, or
// one not shown at all, is seen.
#include <filesystem>

#include "framework/own_files.h"
#include "payload/zip/zip_opener.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

class CoreCustomLabelsTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    std::string labels;
    for (int i = 0; i <= 26; ++i) labels += (i ? "|L" : "L") + std::to_string(i);
    record.data = {{1, "20240101"}, {7, "1"}, {12, ""}};
    record.text = {{1, "terms"}, {2, "Welcome"}, {5, "About"}, {6, labels}, {7, "MyApp"}, {27, "notes"}, {30, "0"}};
    WriteScrambledZip("Data2", {{"MyApp/a.txt", "a"}});
    RegisterZipOpener();
  }
  // Whether the working archive of a run is there in `folder`.
  bool ArchiveBeingWritten(const std::string& folder) const {
    for (const auto& e : fs::directory_iterator(folder))
      if (fw::IsOwnName(e.path().filename().string()) && fs::exists(e.path() / "new/MyApp.zip")) return true;
    return false;
  }
  SetupRecord record;
};

TEST_F(CoreCustomLabelsTest, EachLabelShowsWhereItIsUsed) {
  WriteRecord(record);
  WriteFile(At("dest/MyApp/old.txt"), "an earlier installation");
  ASSERT_EQ(Open(), std::nullopt);
  EXPECT_EQ(window->QuitBtn.Caption(), "L1");
  EXPECT_EQ(window->InstallBtn.Caption(), "L2");
  EXPECT_EQ(window->InfoBtn.Caption(), "L6");

  ui.answers = {ScriptedUI::PressDefault()};
  Run([&] { window->InfoBtn.Press(); });
  // The notes, the agreement, the folder chooser, the replace question, and
  // the progress text as the long copy begins.
  ui.answers = {ScriptedUI::PressDefault(), ScriptedUI::PressDefault(), ScriptedUI::Press("OKBtn")};
  ui.folderAnswers = {At("dest")};
  std::string progress;
  platform.onDoEvents = [&] {
    if (progress.empty() && ArchiveBeingWritten(At("dest"))) progress = window->MessageLabel.Text();
  };
  EXPECT_EQ(Run([&] { window->InstallBtn.Press(); }), 0);

  ASSERT_EQ(ui.modals.size(), 4u);
  const auto& info = ui.modals[0];
  EXPECT_EQ(info.title, "L8");
  EXPECT_EQ(info.Get("OKBtn").caption, "L4");
  const auto& notes = ui.modals[1];
  EXPECT_EQ(notes.title, "L25");
  EXPECT_EQ(notes.Get("OKBtn").caption, "L4");
  EXPECT_EQ(notes.Get("QuitBtn").caption, "L1");
  const auto& agreement = ui.modals[2];
  EXPECT_EQ(agreement.title, "L7");
  EXPECT_EQ(agreement.Get("OKBtn").caption, "L5");
  EXPECT_EQ(agreement.Get("QuitBtn").caption, "L1");
  ASSERT_EQ(ui.folderDialogs.size(), 1u);
  EXPECT_EQ(ui.folderDialogs[0].title, "L14");
  EXPECT_EQ(ui.folderDialogs[0].actionCaption, "L15");
  EXPECT_EQ(ui.folderDialogs[0].cancelCaption, "L3");
  const auto& question = ui.modals[3];
  EXPECT_EQ(question.title, "L10");
  EXPECT_EQ(question.Get("ConfirmLabel1").caption, "L11");
  EXPECT_EQ(question.Get("ConfirmLabel2").caption, "L12");
  EXPECT_EQ(question.Get("CancelBtn").caption, "L3");
  EXPECT_EQ(question.Get("OKBtn").caption, "L4");
  EXPECT_EQ(progress, "L19");
  EXPECT_EQ(ReadFile(At("dest/MyApp/a.txt")), "a");
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(CoreCustomLabelsTest, TheProgressTextShowsAsAFreshTargetsCopyBegins) {
  record.data[7] = "0";
  WriteRecord(record);
  ASSERT_EQ(Open(), std::nullopt);
  ui.answers = {ScriptedUI::PressDefault(), ScriptedUI::PressDefault()};
  ui.folderAnswers = {At("home")};
  std::string progress;
  platform.onDoEvents = [&] {
    if (progress.empty() && ArchiveBeingWritten(At("home"))) progress = window->MessageLabel.Text();
  };
  Run([&] { window->InstallBtn.Press(); });
  EXPECT_EQ(progress, "L19");
  EXPECT_EQ(ReadFile(At("home/MyApp/a.txt")), "a");
}

TEST_F(CoreCustomLabelsTest, APatchWithoutItsInstallationShowsItsLabel) {
  WriteRecord(record);
  ASSERT_EQ(Open(), std::nullopt);
  window->fInstallationPatch = true;
  ui.folderAnswers = {At("home")};
  window->ExpandFolder();
  EXPECT_EQ(ui.messages, std::vector<std::string>{"L18"});
}

}  // namespace
}  // namespace ostrel::test
