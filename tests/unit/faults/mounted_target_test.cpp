// A target that cannot be moved aside (here a volume mounted in its place)
// is deleted as it always was; the file layer refuses to, and after a
// bounded wait the user is told and the run ends, with everything kept.
#include <filesystem>

#include "core/ostrel_stub_window.h"
#include "payload/archives.h"
#include "payload/expansion_wait.h"
#include "support/sandbox.h"
#include "unit/faults/faults_fixture.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

using FaultMountedTargetTest = WithSmallVolumes<SandboxTest>;

TEST_F(FaultMountedTargetTest, ATargetThatCannotBeMovedAsideIsKeptAndTheRunEnds) {
  platform.executablePath = At("Setup.app/Contents/MacOS/Setup");
  WriteFile(platform.executablePath, "stub");
  fs::create_directories(At("Setup.app/Contents/Resources"));
  WriteZip(At("Setup.app/Contents/Resources/Data2"), {{"MyApp/a.txt", "new"}});
  ViewConst::EncryptDecryptFileEnd(At("Setup.app/Contents/Resources/Data2"), true);
  if (!Mounted(At("dest/MyApp"), 1024)) return;
  WriteFile(At("dest/MyApp/old.txt"), "the earlier installation");

  OstrelStubWindow window;
  window.fTargetFolder = "MyApp";
  ui.folderAnswers = {At("dest")};
  const int64_t start = platform.ticks;
  window.ExpandFolder();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].rfind("Install Aborted\n\nUnable to delete existing installed folder.", 0), 0u);
  EXPECT_TRUE(window.fInstallationFailed);
  EXPECT_LE(platform.ticks - start, kOldTargetGiveUpTicks + 60);
  EXPECT_EQ(ReadFile(At("dest/MyApp/old.txt")), "the earlier installation");
  EXPECT_EQ(std::distance(fs::directory_iterator(At("dest")), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace ostrel::test
