// What the builder adds for the scripted actions: the setup's own files in
// Resources, the clean-up program as Data3, and an action list that can work.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "bundler/bundle.h"
#include "payload/archives.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

using bundler::BuildBundle;
using ResourcesTest = BundlerTest;

TEST_F(ResourcesTest, ResourcesAndTheCleanupProgramTravelInTheBundle) {
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
}  // namespace
}  // namespace ostrel::test
