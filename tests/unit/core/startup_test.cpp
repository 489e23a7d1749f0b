// The ways out of startup and the main window as the record fills it. A
// setup started from the temporary folder is in relocation_test.cpp.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "framework/posix/posix_platform.h"
#include "support/forked_child.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

const char* const kAdminMessage = "Cannot Install\n\nAn Administrator account is required to run this installer.";

using StartupTest = CoreTest;

TEST_F(StartupTest, AWritableApplicationsFolderPassesAndKeepsNoProbeButSomeoneElses) {
  WriteRecord(PlainRecord());
  EXPECT_EQ(Open(), std::nullopt);  // the window waits
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(platform.broughtToFront, 1);
  EXPECT_FALSE(fs::exists(At("home/Applications/X.txt")));

  WriteFile(At("home/Applications/X.txt"), "mine");
  window = std::make_unique<OstrelStubWindow>();
  EXPECT_EQ(Open(), std::nullopt);
  EXPECT_EQ(ReadFile(At("home/Applications/X.txt")), "mine");
}

TEST_F(StartupTest, AnUnwritableApplicationsFolderNeedsAnAdministrator) {
  WriteRecord(PlainRecord());
  chmod(At("home/Applications").c_str(), 0555);
  // In a child without the superuser's override, so that the folder is really read-only.
  const auto end = RunInChild({.noPermissionOverride = true}, [&] {
    if (Open() != 0) return 1;
    if (ui.messages != std::vector<std::string>{kAdminMessage}) return 2;
    if (fs::exists(At("home/Applications/X.txt"))) return 3;
    return window->fMessage.empty() ? 0 : 4;  // the record was never read
  });
  EXPECT_TRUE(end.exited);
  EXPECT_EQ(end.code, 0);
}

TEST_F(StartupTest, AnUnreachableApplicationsFolderNeedsAnAdministrator) {
  WriteRecord(PlainRecord());
  platform.folders[fw::SpecialFolderKind::Applications] = At("gone/Applications");
  EXPECT_EQ(Open(), 0);
  EXPECT_EQ(ui.messages, std::vector<std::string>{kAdminMessage});
  EXPECT_EQ(window->fMessage, "");
}

TEST_F(StartupTest, NoRecordEndsInInstallationFailed) {
  EXPECT_EQ(Open(), 0);
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Installation Failed"});

  // An empty Data counts as none, and the labels of TextData are not read then.
  ui.messages.clear();
  WriteRawData("");
  SetupRecord r;
  r.text = {{6, "|||||||||||||Broken"}};
  WriteTextData(r.TextData());
  EXPECT_EQ(Open(), 0);
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Installation Failed"});
}

// --- Minimum system and memory.

TEST_F(StartupTest, TheMinimumSystemFiresOnlyBelowItsRelease) {
  struct Row {
    const char* key;
    int64_t major, minor;
    bool fires;
  };
  // Each row just below its release and at it, and the rows that never fire.
  const Row rows[] = {
      {"MacOS10.10", 10, 9, true}, {"MacOS10.10", 10, 10, false}, {"MacOS10.11", 10, 10, true},
      {"MacOS10.11", 10, 11, false}, {"MacOS10.12", 10, 11, true}, {"MacOS10.12", 11, 4, false},
      {"MacOS10.13", 10, 12, true}, {"MacOS10.13", 10, 13, false}, {"MacOS10.14", 10, 13, true},
      {"MacOS10.14", 10, 14, false}, {"MacOS10.15", 10, 14, true}, {"MacOS10.15", 10, 15, false},
      {"MacOS11.0", 10, 15, true}, {"MacOS11.0", 11, 0, false}, {"MacOS11.1", 11, 0, true},
      {"MacOS11.1", 11, 1, false}, {"MacOS11.2", 11, 1, true}, {"MacOS11.2", 12, 0, false},
      {"macos11.3", 11, 2, true}, {"MacOS11.3", 11, 3, false}, {"MacOS9", 1, 0, false}, {"", 1, 0, false}};
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(r.key) + " on " + std::to_string(r.major) + "." + std::to_string(r.minor));
    ui.messages.clear();
    platform.facts["sys1"] = r.major;
    platform.facts["sys2"] = r.minor;
    window->fMinOS = r.key;
    EXPECT_EQ(window->CheckMinOSorRAM(), !r.fires);
    if (r.fires)  // the message names the release after "MacOS"
      EXPECT_EQ(ui.messages, std::vector<std::string>{"Mac OS X " + std::string(r.key + 5) + " or later is required."});
    else
      EXPECT_TRUE(ui.messages.empty());
  }
}

TEST_F(StartupTest, TheMinimumMemoryFiresOneMegabyteBelowItsLimit) {
  const std::tuple<const char*, int64_t, const char*> rows[] = {
      {"250MB", 250, "250 MB RAM is required."}, {"500MB", 500, "500 MB RAM is required."},
      {"1GB", 1000, "1 GB RAM is required."},    {"2gb", 2000, "2 GB RAM is required."},
      {"4GB", 4000, "4 GB RAM is required."},    {"8GB", 8000, "8 GB RAM is required."},
      {"16GB", 16000, "16 GB RAM is required."}, {"32GB", 32000, "32 GB RAM is required."}};
  for (const auto& [key, limit, message] : rows) {
    SCOPED_TRACE(key);
    ui.messages.clear();
    window->fMinRAM = key;
    platform.facts["ramm"] = limit;
    EXPECT_TRUE(window->CheckMinOSorRAM());
    platform.facts["ramm"] = limit - 1;
    EXPECT_FALSE(window->CheckMinOSorRAM());
    EXPECT_EQ(ui.messages, std::vector<std::string>{message});
  }
}

TEST_F(StartupTest, TheMemoryInstalledCountsNotWhatTheKernelKeepsForItself) {
  // 8 GiB in blocks of 128 MiB, of which the kernel reports some 7,800 MB usable.
  WriteFile(At("sys/block_size_bytes"), "8000000\n");
  for (int i = 0; i < 64; ++i) fs::create_directories(At("sys/memory" + std::to_string(i)));
  fs::create_directories(At("sys/power"));
  WriteFile(At("meminfo"), "MemFree: 1000 kB\nMemTotal:        7987654 kB\n");
  platform.facts["ramm"] = fw::InstalledMemoryMB(At("sys"), At("meminfo"));
  EXPECT_EQ(platform.facts["ramm"], 8192);
  window->fMinRAM = "8GB";
  EXPECT_TRUE(window->CheckMinOSorRAM());
  // A block the firmware keeps back still leaves a machine of 8 GiB.
  fs::remove(At("sys/memory63"));
  EXPECT_EQ(fw::InstalledMemoryMB(At("sys"), At("meminfo")), 8192);
  // Without the blocks, the usable figure is all there is.
  EXPECT_EQ(fw::InstalledMemoryMB(At("none"), At("meminfo")), 7800);
  EXPECT_EQ(fw::InstalledMemoryMB(At("none"), At("none")), 0);
}

TEST_F(StartupTest, BothTablesAreTriedAndAFailingQueryCountsAsZero) {
  platform.facts.clear();
  SetupRecord r = PlainRecord();
  r.text[24] = "MacOS11.0";
  r.text[25] = "250MB";
  WriteRecord(r);
  EXPECT_EQ(Open(), 0);
  EXPECT_EQ(ui.messages,
            (std::vector<std::string>{"Mac OS X 11.0 or later is required.", "250 MB RAM is required."}));
}

// --- The window as the record fills it.

TEST_F(StartupTest, TheRecordFillsTitleCaptionsAndTexts) {
  SetupRecord r = PlainRecord();
  r.data[11] = "1";
  r.text[2] = "Welcome to the tool";
  r.text[5] = "About|this";
  r.text[6] = "|Leave||||| ";
  r.text[8] = "(c) 2024 Maker";
  r.text[9] = "Tool Setup";
  WriteRecord(r);
  EXPECT_EQ(Open(), std::nullopt);

  EXPECT_EQ(window->Title(), "Tool Setup");
  EXPECT_EQ(window->QuitBtn.Caption(), "Leave");
  EXPECT_EQ(window->InstallBtn.Caption(), "Install");
  EXPECT_EQ(window->InfoBtn.Caption(), " ");  // a single blank is a custom label too
  EXPECT_TRUE(window->InfoBtn.Visible());
  EXPECT_EQ(window->MessageLabel.Text(), "Welcome to the tool");
  EXPECT_TRUE(window->MessageLabel.Centered());
  EXPECT_TRUE(window->CopyrightLabel.Visible());
  EXPECT_EQ(window->CopyrightLabel.Text(), "(c) 2024 Maker");
  EXPECT_FALSE(window->URLLabel.Visible());
  EXPECT_FALSE(window->PictureCanvas.Visible());
}

TEST_F(StartupTest, AnEmptyRecordKeepsTheDesign) {
  SetupRecord r = PlainRecord();
  r.text[6] = "|||";  // labels 1 and 2 empty, 6 past the end
  WriteRecord(r);
  EXPECT_EQ(Open(), std::nullopt);
  EXPECT_EQ(window->Title(), "Install");
  EXPECT_EQ(window->QuitBtn.Caption(), "Quit");
  EXPECT_EQ(window->InstallBtn.Caption(), "Install");
  EXPECT_FALSE(window->InfoBtn.Visible());
  EXPECT_FALSE(window->CopyrightLabel.Visible());
  EXPECT_FALSE(window->MessageLabel.Centered());
  EXPECT_EQ(window->MessageLabel.Text(), "Welcome");
}

TEST_F(StartupTest, TheLinkShowsEitherTextAndOpensOnlyAnAddress) {
  SetupRecord r = PlainRecord();
  r.text[4] = "Our web site";
  WriteRecord(r);
  EXPECT_EQ(Open(), std::nullopt);
  EXPECT_TRUE(window->URLLabel.Visible());
  EXPECT_EQ(window->URLLabel.Text(), "Our web site");
  EXPECT_FALSE(window->URLLabel.MouseDown(1, 1));
  EXPECT_TRUE(platform.urls.empty());

  r.text[3] = "www.example.com/tool";
  r.text[4] = "";
  WriteRecord(r);
  window = std::make_unique<OstrelStubWindow>();
  EXPECT_EQ(Open(), std::nullopt);
  EXPECT_TRUE(window->URLLabel.Visible());
  EXPECT_EQ(window->URLLabel.Text(), "www.example.com/tool");
  window->URLLabel.MouseDown(1, 1);
  window->fURLActual = "HTTPS://example.com";  // holds "http" in some case
  window->URLLabel.MouseDown(1, 1);
  EXPECT_EQ(platform.urls, (std::vector<std::string>{"http://www.example.com/tool", "HTTPS://example.com"}));
}

// --- Pictures.

TEST_F(StartupTest, PicturesGoToTheCanvasesAndTheBackground) {
  SetupRecord r = PlainRecord();
  r.data[6] = "F[12]0[12],2,2";  // white top row, black bottom row
  r.data[4] = "0000FF,1,1";
  r.data[9] = "FF0000,1,1";
  WriteRecord(r);
  EXPECT_EQ(Open(), std::nullopt);

  ASSERT_TRUE(window->PictureCanvas.Visible());
  auto picture = window->PictureCanvas.Backdrop();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->transparent, 1);
  EXPECT_EQ(picture->Pixel(1, 0), 0xFFFFFFu);
  EXPECT_EQ(picture->Pixel(0, 1), 0x000000u);

  ASSERT_TRUE(window->LogoCanvas.Visible());
  EXPECT_EQ(window->LogoCanvas.Backdrop()->Pixel(0, 0), 0x0000FFu);
  ASSERT_TRUE(window->Backdrop());
  EXPECT_EQ(window->Backdrop()->Pixel(0, 0), 0xFF0000u);
  EXPECT_EQ(window->Backdrop()->transparent, 0);
}

TEST_F(StartupTest, APictureThatCannotBeBuiltIsReportedAndItsCanvasStaysHidden) {
  SetupRecord r = PlainRecord();
  r.data[6] = "FFFFFF,100000,100000";
  r.data[4] = "FFFFFF,1,1";
  WriteRecord(r);
  ui.answers.push_back(fw::testing::ScriptedUI::Press("Btn3"));
  EXPECT_EQ(Open(), std::nullopt);

  ASSERT_EQ(ui.modals.size(), 1u);
  const auto* text = ui.modals[0].Find("MessageText");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->caption, "INSUFFICIENT RAM.\n\nUnable to process picture due to RAM shortage.");
  EXPECT_FALSE(window->PictureCanvas.Visible());
  EXPECT_FALSE(window->PictureCanvas.Backdrop());
  EXPECT_TRUE(window->LogoCanvas.Visible());  // the next picture is still built
}

}  // namespace
}  // namespace ostrel::test
