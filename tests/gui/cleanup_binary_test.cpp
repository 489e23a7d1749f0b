// The real clean-up program, unpacked from a built setup the way the stub
// unpacks it and run with a home of the sandbox's own: what it must not
// delete stays, whatever its instruction says.
#include <gtest/gtest.h>

#include "bundler/bundle.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"
#include "support/sandbox.h"
#include "support/x_session.h"

namespace ostrel::test {
namespace {

class CleanupBinaryTest : public SandboxTest {
 protected:
  // A setup built with clean-up mode 2 into `folder`.
  void BuildSetup(const std::string& folder) {
    bundler::SetupDescription d;
    d.bundleName = "Setup";
    d.targetFolder = "App";
    d.cleanup = 2;
    WriteFile(At("payload/readme.txt"), "read me");
    d.payloadFolder = At("payload");
    bundle = bundler::BuildBundle(d, OSTREL_STUB_BINARY, folder);
  }
  // Unpacks the clean-up program into the temporary folder, leaves it the
  // instruction and runs it to its end.
  void RunCleanup(const std::string& instruction) {
    const std::string temp = At("tmp/");
    fs::copy_file(bundle + "/Contents/Resources/Data3", temp + "Data3", fs::copy_options::overwrite_existing);
    ViewConst::EncryptDecryptFileEnd(temp + "Data3", false);
    ASSERT_TRUE(ViewConst::RenameFile(temp + "Data3", temp + "PostInstallCleanup.zip"));
    ASSERT_TRUE(ViewConst::ZipFileToFolder(temp + "PostInstallCleanup.zip", temp + "PostInstallCleanup.app", false));
    WriteFile(temp + "PostInstallCleanup.data", instruction);
    EXPECT_EQ(RunProgram({temp + "PostInstallCleanup.app/Contents/MacOS/PostInstallCleanup"}, nullptr,
                         {{"HOME", At("home")}, {"XDG_CONFIG_HOME", At("home/.config")}}),
              0);
    EXPECT_FALSE(fs::exists(temp + "PostInstallCleanup.app"));
    EXPECT_FALSE(fs::exists(temp + "PostInstallCleanup.zip"));
    EXPECT_FALSE(fs::exists(temp + "PostInstallCleanup.data"));
  }
  std::string bundle;
};

TEST_F(CleanupBinaryTest, TheDownloadsFolderAndFoldersWithoutTheSetupStay) {
  WriteFile(At("home/Downloads/mine.txt"), "the user's");
  BuildSetup(At("home/Downloads"));
  WriteFile(At("elsewhere/mine.txt"), "the user's");
  for (const std::string& instruction : {"DeleteFolder=" + At("home/Downloads"), "DeleteFolder=" + At("elsewhere")}) {
    SCOPED_TRACE(instruction);
    RunCleanup(instruction);
    EXPECT_TRUE(fs::exists(bundle + "/Contents/Resources/Data3"));
    for (const char* f : {"home/Downloads/mine.txt", "elsewhere/mine.txt"}) EXPECT_EQ(ReadFile(At(f)), "the user's") << f;
  }
}

TEST_F(CleanupBinaryTest, AFolderThatHoldsTheStartedSetupGoesAndNothingBesideIt) {
  WriteFile(At("keep.txt"), "sentinel");
  WriteFile(At("setups/Readme.txt"), "came with the setup");
  BuildSetup(At("setups"));
  RunCleanup("DeleteFolder=" + At("setups"));
  EXPECT_FALSE(fs::exists(At("setups")));
  EXPECT_EQ(ReadFile(At("keep.txt")), "sentinel");
  EXPECT_TRUE(fs::exists(At("payload/readme.txt")));
}

}  // namespace
}  // namespace ostrel::test
