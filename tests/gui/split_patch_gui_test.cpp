// Patch and split setups through the real stub under Xvfb: a patch applied to
// a real installation, and a split setup that relocates itself, joins its
// pieces and installs, or stops at the disc prompt, or meets a damaged piece.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "bundler/bundle.h"
#include "bundler/demo_payload.h"
#include "gui/stub_driver.h"

namespace ostrel::test {
namespace {

using namespace std::chrono_literals;

// The disc prompt's Yes and No, in the question sized for its text.
constexpr int kYesX = 360, kNoX = 452, kPromptButtonsY = 163;

class SplitPatchGuiTest : public StubDriverTest {
 protected:
  // A split setup of the demo payload in three pieces: Data#1, Data#2, Data#End.
  bundler::SetupDescription ThreePieces() {
    bundler::MakeDemoPayload(At("payload-source"), 40);
    auto d = TestSetup();
    const std::string probe = bundler::BuildBundle(d, OSTREL_STUB_BINARY, At("probe"));
    d.splitSize = static_cast<int64_t>(fs::file_size(probe + "/Contents/Resources/Data2")) / 3 + 1;
    return d;
  }

  void PressInstall() { x->Click(Expect("^Gui Setup Test$", "main-window"), kInstallX, kMainButtonsY); }

  void TearDown() override {
    // A copy that a failed test left waiting goes with its test.
    for (pid_t pid : Copies()) kill(pid, SIGKILL);
    StubDriverTest::TearDown();
  }

  // The relocated copies run from this test's temporary folder; they are
  // not our children.
  std::vector<pid_t> Copies() {
    std::vector<pid_t> found;
    for (auto& e : fs::directory_iterator("/proc")) {
      std::error_code ec;
      const auto exe = fs::read_symlink(e.path() / "exe", ec);
      if (!ec && exe.string().rfind(At("tmp") + "/", 0) == 0) found.push_back(std::stoi(e.path().filename()));
    }
    return found;
  }
  bool WaitForTheCopyToEnd() {
    for (int i = 0; i < 600; ++i, std::this_thread::sleep_for(100ms))
      if (Copies().empty()) return true;
    return false;
  }
};

TEST_F(SplitPatchGuiTest, APatchUpdatesTheInstallationAndTouchesNothingElse) {
  WriteFile(At("payload-source/bin/tool"), "version 2\n");
  WriteFile(At("payload-source/docs/new/guide.txt"), "new guide\n");
  WriteFile(At("payload-source/old.txt*Delete*"), "");
  WriteFile(At("payload-source/Plugins*Delete*/ignored.txt"), "never copied\n");
  auto d = TestSetup();
  d.installationPatch = true;
  WriteFile(At("target/GuiApp/bin/tool"), "version 1\n");
  WriteFile(At("target/GuiApp/old.txt"), "to go\n");
  WriteFile(At("target/GuiApp/Plugins/a.so"), "to go with its folder\n");
  WriteFile(At("target/GuiApp/keep.txt"), "kept\n");
  WriteFile(At("target/sentinel.txt"), "beside the installation\n");
  WriteFile(At("home/sentinel.txt"), "in the home folder\n");

  BuildAndStart(d);
  PressInstall();
  ChooseFolder(At("target"));
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(TreeOf(At("target")), (Tree{{"sentinel.txt", "beside the installation\n"},
                                        {"GuiApp", "<dir>"},
                                        {"GuiApp/keep.txt", "kept\n"},
                                        {"GuiApp/bin", "<dir>"},
                                        {"GuiApp/bin/tool", "version 2\n"},
                                        {"GuiApp/docs", "<dir>"},
                                        {"GuiApp/docs/new", "<dir>"},
                                        {"GuiApp/docs/new/guide.txt", "new guide\n"}}));
  EXPECT_EQ(ReadFile(At("home/sentinel.txt")), "in the home folder\n");
}

TEST_F(SplitPatchGuiTest, ASplitSetupRelocatesJoinsItsThreePiecesAndInstallsByteForByte) {
  WriteFile(At("target/sentinel.txt"), "beside the installation\n");
  BuildAndStart(ThreePieces());
  ASSERT_TRUE(fs::exists(At("dist/Data#2")) && fs::exists(At("dist/Data#End")) && !fs::exists(At("dist/Data#3")));
  PressInstall();
  EXPECT_EQ(Finish(), 0);  // the first process hands over and ends
  ChooseFolder(At("target"));  // asked by the copy
  EXPECT_TRUE(WaitForTheCopyToEnd());
  EXPECT_EQ(TreeDiff(At("payload-source"), At("target/GuiApp")), "");
  EXPECT_EQ(ReadFile(At("target/sentinel.txt")), "beside the installation\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(At("target")), {}), 2);  // no archive left
}

TEST_F(SplitPatchGuiTest, NoAtTheDiscPromptInstallsNothing) {
  BuildAndStart(ThreePieces());
  fs::remove(At("dist/Data#End"));
  fs::create_directories(At("target"));
  PressInstall();
  EXPECT_EQ(Finish(), 0);
  ChooseFolder(At("target"));
  const std::string prompt = Expect("^Confirmation$", "disc-prompt");
  EXPECT_EQ(x->WindowSize(prompt), std::make_pair(512, 193));
  x->Click(prompt, kNoX, kPromptButtonsY);
  EXPECT_TRUE(WaitForTheCopyToEnd());
  EXPECT_TRUE(fs::is_empty(At("target")));
}

TEST_F(SplitPatchGuiTest, ADamagedPieceIsNamedAndAskedForAgain) {
  BuildAndStart(ThreePieces());
  const std::string good = ReadFile(At("dist/Data#2"));
  std::string damaged = good;
  damaged[damaged.size() / 2] ^= 0x20;
  WriteFile(At("dist/Data#2"), damaged);
  fs::create_directories(At("target"));
  PressInstall();
  EXPECT_EQ(Finish(), 0);
  ChooseFolder(At("target"));
  const std::string message = Expect("^Install$", "damaged-piece");
  x->Key(message, "Return");
  const std::string prompt = Expect("^Confirmation$", "disc-prompt");
  WriteFile(At("dist/Data#2"), good);  // the user puts in a good disc
  x->Click(prompt, kYesX, kPromptButtonsY);
  EXPECT_TRUE(WaitForTheCopyToEnd());
  EXPECT_EQ(TreeDiff(At("payload-source"), At("target/GuiApp")), "");
}

}  // namespace
}  // namespace ostrel::test
