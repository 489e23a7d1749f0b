// A built bundle read back by the installer's own reader, and what it
// carries beside the record: the setup's own files and the clean-up program.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "bundler/bundle.h"
#include "bundler/description_file.h"
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

using bundler::BadInput;
using bundler::BuildBundle;

class BundleReadbackTest : public BundlerTest {
 protected:
  // Points the installer at the bundle's executable and reads the record.
  std::unique_ptr<OstrelStubWindow> ReadBack(const std::string& bundle, const std::string& executable) {
    platform.executablePath = bundle + "/Contents/MacOS/" + executable;
    auto window = std::make_unique<OstrelStubWindow>();
    EXPECT_TRUE(window->ReadData());
    return window;
  }
};

TEST_F(BundleReadbackTest, EveryFieldReadsBackAsDescribed) {
  auto d = FullDescription();
  d.picture.pngPath = WritePng("picture.png", {{QColor(255, 0, 0), QColor(0, 0, 255, 0)},
                                               {QColor(255, 0, 0, 128), QColor(18, 52, 86)}});
  d.background.pixels = "E[24]";
  d.background.width = 2;
  d.background.height = 2;
  d.installationPatch = true;
  const std::string bundle = BuildBundle(d, stub, At("out"));
  EXPECT_EQ(bundle, At("out/Demo Setup.app"));

  const auto w = ReadBack(bundle, "Setup");
  EXPECT_EQ(w->fTimeStamp, "2024-06-01 12:00:00");
  EXPECT_TRUE(w->fApplicationFolder);
  EXPECT_EQ(w->fExecuteAfterName, "After.app");
  EXPECT_EQ(Expanded(w->fLogoPixelStr), "FFFFFF000000");
  EXPECT_EQ(w->fLogoWidth, 2);
  EXPECT_EQ(w->fLogoHeight, 1);
  // Transparent pixels lie over white: fully transparent is white, half red is pink.
  EXPECT_EQ(Expanded(w->fPicturePixelStr), "FF0000FFFFFFFF7F7F123456");
  EXPECT_EQ(w->fPictureWidth, 2);
  EXPECT_EQ(w->fPictureHeight, 2);
  EXPECT_TRUE(w->fPromptToReplace);
  EXPECT_EQ(w->fExecuteBeforeName, "SetupFolder/Before");
  EXPECT_EQ(w->fBackgroundPixelStr, "E[24]");
  EXPECT_EQ(w->fBackgroundWidth, 2);
  EXPECT_EQ(w->fBackgroundHeight, 2);
  EXPECT_EQ(w->fEncryptionLen, 4096);
  EXPECT_TRUE(w->fCenterMessage);

  EXPECT_EQ(w->fAgreement, "<html><body><p>Agree?</p>\n<p>Größe</p></body></html>");
  EXPECT_EQ(w->fMessage, "Welcome\nto the demo");
  EXPECT_EQ(w->fURLActual, "https://www.example.com/");
  EXPECT_EQ(w->fURLDisplayed, "Home page");
  EXPECT_EQ(w->fInfo, "Line one\nLine two");
  EXPECT_EQ(w->fLabels, (std::vector<std::string>{"", "", "Go", "", "", "Accept", "", "", "", "", "", "", "", "",
                                                  "", "", "", "", "", "Busy..."}));
  EXPECT_EQ(w->fTargetFolder, "DemoApp");
  EXPECT_EQ(w->fCopyright, "(c) 2024 Demo");
  EXPECT_EQ(w->fWindowTitle, "Demo Title");
  EXPECT_TRUE(w->fInstallationPatch);
  EXPECT_EQ(w->fInstallChoices, "choices");
  EXPECT_EQ(w->fInstallOptions, "options");
  EXPECT_EQ(w->fMinOS, "MacOS10.12");
  EXPECT_EQ(w->fMinRAM, "1GB");
  EXPECT_EQ(w->fCompletionURL, "https://www.example.com/done");
  // A "|" of the text itself survives; only the line break is one.
  EXPECT_EQ(w->fPreInstallNotes, "Notes | with a bar\nand a second line");
  EXPECT_EQ(w->fPostInstallNotes, "Release notes");
  EXPECT_EQ(w->fPostCopy, "createfolder=UserAccount/Demo|delete=UserAccount/Old");
  EXPECT_EQ(w->fCleanup, 2);
}

// Each field at its number, the empty ones too. With the test above, which
// reads these same fields back, this pins the installer's reader as well.
TEST_F(BundleReadbackTest, TheFilesHoldEachFieldAtItsNumber) {
  auto d = FullDescription();
  d.executableName.clear();  // the bundle's name then
  const std::string bundle = BuildBundle(d, stub, At("out"));

  const std::string exe = bundle + "/Contents/MacOS/Demo Setup";
  EXPECT_EQ(ReadFile(exe), ReadFile(stub));
  EXPECT_EQ(fs::status(exe).permissions(), fs::perms(0755));
  EXPECT_EQ(ReadBack(bundle, "Demo Setup")->fTargetFolder, "DemoApp");

  std::string data = ReadFile(bundle + "/Contents/Resources/Data");
  ViewConst::DecryptStr(data);
  const std::string text = ReadFile(bundle + "/Contents/Resources/TextData");
  std::map<int, std::string> dataFields = {{1, "2024-06-01 12:00:00"}, {2, "1"}, {3, "After.app"}, {4, "F[6]000000,2,1"},
                                           {7, "1"}, {8, "SetupFolder/Before"}, {10, "4096"}, {11, "1"}};
  // HTML, and a text holding a "|" of its own, travel as UTF-16LE in
  // upper-case hexadecimal: "<" is 3C00, "N" 4E00.
  std::map<int, std::string> textFields = {
      {2, "Welcome\nto the demo"}, {3, "https://www.example.com/"}, {4, "Home page"}, {5, "Line one|Line two"},
      {6, "||Go|||Accept" + std::string(14, '|') + "Busy..."}, {7, "DemoApp"}, {8, "(c) 2024 Demo"}, {9, "Demo Title"}, {13, "0"},
      {22, "choices"}, {23, "options"}, {24, "MacOS10.12"}, {25, "1GB"}, {26, "https://www.example.com/done"},
      {28, "Release notes"}, {29, "createfolder=UserAccount/Demo|delete=UserAccount/Old"}, {30, "2"}};
  EXPECT_EQ(ViewConst::CountFields(data, "$|~"), 12);
  for (int n = 1; n <= 12; ++n) EXPECT_EQ(ViewConst::NthField(data, "$|~", n), dataFields[n]) << "Data " << n;
  EXPECT_EQ(ViewConst::CountFields(text, "|#|"), 30);
  EXPECT_EQ(ViewConst::NthField(text, "|#|", 1).substr(0, 14), "$HTML$3C006800");
  EXPECT_EQ(ViewConst::NthField(text, "|#|", 27).substr(0, 10), "$HTML$4E00");
  for (int n = 2; n <= 30; ++n)
    if (n != 27) {
      EXPECT_EQ(ViewConst::NthField(text, "|#|", n), textFields[n]) << "TextData " << n;
    }
}

TEST_F(BundleReadbackTest, AnHtmlFragmentGetsTheTagTheInstallerLooksFor) {
  auto d = FullDescription();
  d.info = {"<p>Only a fragment</p>", true};
  const auto w = ReadBack(BuildBundle(d, stub, At("out")), "Setup");
  EXPECT_EQ(w->fInfo, "<html><p>Only a fragment</p></html>");

  d.info = {"<html lang=\"en\"><p>x</p></html>", true};
  EXPECT_THROW(BuildBundle(d, stub, At("out")), BadInput);
}

// Values that would break the record, and what cannot work once installed:
// refused by name, before anything is written.
TEST_F(BundleReadbackTest, WhatCannotWorkIsRefusedByNameAndNothingIsWritten) {
  WriteFile(At("resources/Data2"), "x");
  WriteFile(At("resources/twice/After.app"), "x");
  const std::pair<std::function<void(bundler::SetupDescription&)>, std::string> cases[] = {
      {[](auto& d) { d.labels[3] = "a|b"; }, "label 3"},
      {[](auto& d) { d.message = "ends in |#"; }, "message"},  // with the separator after it: "|#|#|"
      {[](auto& d) { d.executeAfter = "odd$|~name"; }, "execute_after"},
      {[](auto& d) { d.labels = {{1, "x"}, {2, "#"}, {3, "y"}}; }, "labels"},  // joined: "x|#|y"
      {[](auto& d) { d.labels[27] = "beyond"; }, "label 27"},
      {[](auto& d) { d.logo.pixels = "F[6]"; }, "logo"},  // one pixel where two are promised
      {[](auto& d) { d.targetFolder = "a/b"; }, "target"},
      {[&](auto& d) { d.resources.push_back(At("resources/Data2")); }, "the bundle's own Data2"},
      {[&](auto& d) { d.resources.push_back(At("resources/missing")); }, "no resource file or folder"},
      {[&](auto& d) { d.resources.push_back(At("resources/twice/After.app")); }, "two resources are named After.app"},
      {[](auto& d) { d.executeBefore = "Check"; }, "execute_before names \"Check\""},
      {[&](auto& d) { d.cleanupProgram = At("nowhere"); }, "needs the clean-up program"},
      {[](auto& d) { d.postInstallActions = "delete=/a|"; }, "stray \"|\""},
      {[](auto& d) { d.postInstallActions = "createfolder=SetupFolder/Logs"; }, "\"SetupFolder/Logs\", which is no full"},
      {[](auto& d) { d.postInstallActions = "preinstalldelete=UserAccount/Old"; }, "which is no full path;"},
      {[](auto& d) { d.postInstallActions = "craetefolder=UserAccount/Logs"; }, "copies \"craetefolder\", which is neither"},
      {[](auto& d) { d.postInstallActions = "docs=[UserAccount/Docs]{Docs/x}"; }, "\"Docs/x\", which is no full"},
      {[](auto& d) { d.postInstallActions = "shell=FOO=1 tool"; }, "second \"=\""},
      {[](auto& d) { d.postInstallActions = "createfolder="; }, "needs a key"},
      {[](auto& d) { d.postInstallActions = "preinstallcopy=/a/b"; }, "source;destination"},
      {[](auto& d) { d.postInstallActions = "DELETE=UserAccount//"; }, "whole home folder"},
      {[](auto& d) { d.postInstallActions = "docs=[UserAccount/Docs"; }, "without its \"]\""},
      {[](auto& d) { d.postInstallActions = "docs=[/a]{/b"; }, "without its \"}\""},
  };
  for (const auto& [change, why] : cases) {
    auto d = FullDescription();
    change(d);
    try {
      BuildBundle(d, stub, At("out"));
      ADD_FAILURE() << "built although " << why;
    } catch (const BadInput& e) {
      EXPECT_NE(std::string(e.what()).find(why), std::string::npos) << e.what();
    }
    EXPECT_FALSE(fs::exists(At("out/Demo Setup.app"))) << why;
  }
}

TEST_F(BundleReadbackTest, ResourcesAndTheCleanupProgramTravelInTheBundle) {
  auto d = FullDescription();
  WriteFile(At("resources/before.sh"), "#!/bin/sh\necho before\n");
  chmod(At("resources/before.sh").c_str(), 0750);
  d.resources.push_back(At("resources/before.sh"));
  d.executeBefore = "before.sh";
  const std::string resources = BuildBundle(d, stub, At("out")) + "/Contents/Resources";

  EXPECT_EQ(ReadFile(resources + "/before.sh"), "#!/bin/sh\necho before\n");
  EXPECT_EQ(fs::status(resources + "/before.sh").permissions(), fs::perms(0750));
  EXPECT_EQ(ReadFile(resources + "/After.app/Contents/MacOS/After"), "#!/bin/sh\n");

  // Data3 unscrambles to the archive that expands into the clean-up bundle.
  ASSERT_TRUE(ViewConst::ZipFileToFolder(Unscrambled(resources + "/Data3", At("cleanup.zip")), At("PostInstallCleanup.app"), false));
  const std::string program = At("PostInstallCleanup.app/Contents/MacOS/PostInstallCleanup");
  EXPECT_EQ(TreeOf(At("PostInstallCleanup.app")).size(), 3u);
  EXPECT_EQ(ReadFile(program), ReadFile(At("build/ostrel-cleanup")));
  EXPECT_EQ(fs::status(program).permissions(), fs::perms(0755));

  d.cleanup = 0;
  EXPECT_FALSE(fs::exists(BuildBundle(d, stub, At("out")) + "/Contents/Resources/Data3"));
}
TEST_F(BundleReadbackTest, ARebuildReplacesTheBundleButNothingElse) {
  auto d = FullDescription();
  const std::string bundle = BuildBundle(d, stub, At("out"));
  WriteFile(bundle + "/Contents/Resources/stale", "old");
  d.message = "Second build";
  EXPECT_EQ(BuildBundle(d, stub, At("out")), bundle);
  EXPECT_FALSE(fs::exists(bundle + "/Contents/Resources/stale"));
  EXPECT_EQ(ReadBack(bundle, "Setup")->fMessage, "Second build");
  // No work folder is left beside the bundle.
  EXPECT_EQ(std::distance(fs::directory_iterator(At("out")), fs::directory_iterator()), 1);

  WriteFile(At("out2/Demo Setup.app"), "a file of the user's");
  EXPECT_THROW(BuildBundle(d, stub, At("out2")), BadInput);
  EXPECT_EQ(ReadFile(At("out2/Demo Setup.app")), "a file of the user's");
}

TEST_F(BundleReadbackTest, AnEmptyTimeStampBecomesTheBuildTime) {
  auto d = FullDescription();
  d.timeStamp.clear();
  const auto w = ReadBack(BuildBundle(d, stub, At("out")), "Setup");
  ASSERT_EQ(w->fTimeStamp.size(), 19u) << w->fTimeStamp;
  EXPECT_EQ(w->fTimeStamp.substr(0, 2), "20");
  EXPECT_EQ(w->fTimeStamp[10], ' ');
}

TEST_F(BundleReadbackTest, TheDemoSetupBuildsAndReadsBack) {
  const auto d = bundler::ReadDescriptionFile(DemoDescriptionPath());
  const std::string bundle = BuildBundle(d, stub, At("out"));
  const auto w = ReadBack(bundle, "DemoSetup");
  EXPECT_EQ(w->fWindowTitle, "Ostrel Demo");
  EXPECT_EQ(w->fTargetFolder, "DemoApp");
  EXPECT_FALSE(w->fApplicationFolder);
  EXPECT_TRUE(w->fPromptToReplace);
  EXPECT_NE(w->fAgreement.find("<html>"), std::string::npos);
  EXPECT_NE(w->fAgreement.find("Größe"), std::string::npos);
  // The notes as plain text, their line breaks whole.
  std::string notes = ReadFile(fs::path(DemoDescriptionPath()).parent_path() / "notes.txt");
  while (notes.ends_with('\n')) notes.pop_back();
  EXPECT_EQ(w->fPreInstallNotes, notes);
  EXPECT_EQ(w->Label(2), "");  // the Install button keeps its caption
  EXPECT_EQ(w->Label(6), "About");
  for (auto [pixels, width, height, wantW, wantH] :
       {std::tuple{w->fLogoPixelStr, w->fLogoWidth, w->fLogoHeight, 64, 64},
        std::tuple{w->fPicturePixelStr, w->fPictureWidth, w->fPictureHeight, 64, 64},
        std::tuple{w->fBackgroundPixelStr, w->fBackgroundWidth, w->fBackgroundHeight, 396, 238}}) {
    EXPECT_EQ(width, wantW);
    EXPECT_EQ(height, wantH);
    EXPECT_EQ(Expanded(pixels).size(), static_cast<size_t>(wantW * wantH * 6));
  }
  EXPECT_EQ(std::count_if(fs::recursive_directory_iterator(At("out/payload/DemoApp")), {},
                          [](const fs::directory_entry& e) { return e.is_regular_file() && !e.is_symlink(); }),
            300);
}

}  // namespace
}  // namespace ostrel::test
