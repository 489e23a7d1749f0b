// The notes and the agreement after a press of Install, the Info text, and
// the folder chooser.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/forked_child.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

class InstallFlowTest : public CoreTest {
 protected:
  // Runs the flow after the press. Past the documents it goes on into the
  // installation proper, which is not this test's business: the disabled
  // Install button tells that the flow went on.
  void Press() { Run([&] { window->OKBtnClicked(); }); }
  bool WentOn() const { return !window->InstallBtn.Enabled(); }
};

TEST_F(InstallFlowTest, ShortPlainNotesShowInALowerDialog) {
  std::string accented;
  for (int i = 0; i < 499; ++i) accented += "\xC3\xA9";  // 499 characters, 998 bytes
  for (const std::string& notes : {std::string(499, 'n'), std::string(500, 'n'), accented}) {
    window->fPreInstallNotes = notes;
    ui.answers = {ScriptedUI::Press("QuitBtn")};
    Press();
  }
  ASSERT_EQ(ui.modals.size(), 3u);
  const auto& shortNotes = ui.modals[0];
  EXPECT_EQ(shortNotes.title, "Pre-Installation Notes");
  EXPECT_EQ(shortNotes.height, 210);
  EXPECT_EQ(shortNotes.Get("OKBtn").caption, "OK");
  EXPECT_EQ(shortNotes.Get("QuitBtn").caption, "Quit");
  EXPECT_EQ(ui.modals[1].height, 410);
  EXPECT_EQ(ui.modals[2].height, 210);
  EXPECT_FALSE(WentOn());
}

TEST_F(InstallFlowTest, HtmlInAnyCaseShowsTheHtmlDialogAgainstTheTemporaryFolder) {
  window->fPreInstallNotes = "<html><body>short</body></html>";
  window->fAgreement = "<HtMl>terms";
  std::string base, page;
  ui.answers = {[&](fw::Window& w) {
                  base = w.Get("MyHTMLViewer").BaseFolder();
                  page = w.Get("MyHTMLViewer").Text();
                  w.Get("ContinueBtn").Press();
                },
                ScriptedUI::Press("ContinueBtn")};
  Press();

  ASSERT_EQ(ui.modals.size(), 2u);
  EXPECT_EQ(ui.modals[0].title, "Pre-Installation Notes");
  EXPECT_EQ(ui.modals[0].height, 511);  // never shortened
  EXPECT_EQ(ui.modals[0].Get("ContinueBtn").caption, "I Agree");
  EXPECT_EQ(ui.modals[0].Get("QuitBtn").caption, "Quit");
  EXPECT_EQ(ui.modals[1].title, "License Agreement");
  EXPECT_EQ(ui.modals[1].Get("ContinueBtn").caption, "I Agree");
  EXPECT_EQ(base, At("tmp"));
  EXPECT_EQ(page, "<html><body>short</body></html>");
  EXPECT_TRUE(WentOn());
}

TEST_F(InstallFlowTest, DecliningEitherDocumentEndsTheRun) {
  window->fPreInstallNotes = "notes";
  window->fAgreement = "terms";
  // The notes declined: no agreement, and the press returns to be quit by its caller.
  ui.answers = {ScriptedUI::Press("QuitBtn")};
  EXPECT_EQ(Run([&] { window->OKBtnClicked(); }), std::nullopt);
  EXPECT_EQ(ui.modals.size(), 1u);
  EXPECT_FALSE(WentOn());
  // The notes accepted, the agreement declined.
  ui.answers = {ScriptedUI::Press("OKBtn"), ScriptedUI::Press("QuitBtn")};
  Press();
  ASSERT_EQ(ui.modals.size(), 3u);
  EXPECT_EQ(ui.modals[2].title, "License Agreement");
  EXPECT_EQ(ui.modals[2].height, 410);  // the agreement is never shortened
  EXPECT_EQ(ui.modals[2].Get("OKBtn").caption, "I Agree");
  EXPECT_FALSE(WentOn());

  ui.answers = {ScriptedUI::Press("QuitBtn")};
  EXPECT_EQ(Run([&] { window->InstallBtn.Press(); }), 0);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(InstallFlowTest, WithNeitherNotesNorAgreementThePressGoesStraightOn) {
  Press();
  EXPECT_TRUE(ui.modals.empty());
  EXPECT_TRUE(WentOn());
}

TEST_F(InstallFlowTest, InfoShowsOneButtonAndTheWindowGoesOnWaiting) {
  // Its one button is also Escape's way out.
  window->fInfo = "About this tool";
  ui.answers = {ScriptedUI::PressCancel()};
  EXPECT_EQ(Run([&] { window->InfoBtn_Action(); }), std::nullopt);

  window->fInfo = "<html>About</html>";
  window->fLabels = {"", "", "", "", "Close", "", "", "", "About"};
  ui.answers = {ScriptedUI::PressCancel()};
  EXPECT_EQ(Run([&] { window->InfoBtn_Action(); }), std::nullopt);

  ASSERT_EQ(ui.modals.size(), 2u);
  const auto& plain = ui.modals[0];
  EXPECT_EQ(plain.title, "Information");
  EXPECT_EQ(plain.Get("OKBtn").caption, "OK");
  EXPECT_TRUE(plain.Get("OKBtn").visible);
  EXPECT_FALSE(plain.Get("QuitBtn").visible);
  EXPECT_EQ(plain.height, 410);
  const auto& html = ui.modals[1];
  EXPECT_EQ(html.title, "About");
  EXPECT_EQ(html.Get("ContinueBtn").caption, "Close");
  EXPECT_FALSE(html.Get("QuitBtn").visible);
  EXPECT_TRUE(window->InstallBtn.Enabled());
}

// --- The folder chooser.

// Its custom captions are in custom_labels_test.cpp.
TEST_F(InstallFlowTest, TheChooserStartsAtTheGivenFolderWithItsCaptions) {
  ui.folderAnswers = {std::nullopt, std::nullopt};
  EXPECT_EQ(window->SelectTargetFolder(At("home"), false), At("home"));
  EXPECT_EQ(window->SelectTargetFolder("relative/path", true), "");

  ASSERT_EQ(ui.folderDialogs.size(), 2u);
  EXPECT_EQ(ui.folderDialogs[0].title, "Select Folder");
  EXPECT_EQ(ui.folderDialogs[0].actionCaption, "Select");
  EXPECT_EQ(ui.folderDialogs[0].cancelCaption, "Cancel");
  EXPECT_EQ(ui.folderDialogs[0].initialDirectory, At("home"));
  // A path that does not resolve starts where the installer lies.
  EXPECT_EQ(ui.folderDialogs[1].initialDirectory, root.string());
}

TEST_F(InstallFlowTest, AChosenFolderComesBackWithoutATrailingSeparator) {
  fs::create_directories(At("target"));
  ui.folderAnswers = {At("target") + "/"};
  EXPECT_EQ(window->SelectTargetFolder("", true), At("target"));
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(InstallFlowTest, AFolderThatCannotBeWrittenAnswersEmpty) {
  ui.folderAnswers = {At("vanished")};
  EXPECT_EQ(window->SelectTargetFolder(At("home"), false), "");
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Cannot write to selected location."});

  window->fLabels = {"No way"};
  ui.folderAnswers = {At("vanished")};
  EXPECT_EQ(window->SelectTargetFolder(At("home"), false), "");
  EXPECT_EQ(ui.messages.back(), "No way");
}

TEST_F(InstallFlowTest, AReadOnlyFolderAnswersEmpty) {
  fs::create_directories(At("locked"));
  chmod(At("locked").c_str(), 0555);
  ui.folderAnswers = {At("locked")};
  // In a child without the superuser's override, so that the folder is really read-only.
  const auto end = RunInChild({.noPermissionOverride = true}, [&] {
    if (window->SelectTargetFolder(At("home"), true) != "") return 1;
    return ui.messages == std::vector<std::string>{"Cannot write to selected location."} ? 0 : 2;
  });
  EXPECT_TRUE(end.exited);
  EXPECT_EQ(end.code, 0);
}

}  // namespace
}  // namespace ostrel::test
