// The private temporary folder is named by its real path, however TMPDIR
// spells it, so that a copy relocated into it knows where it runs.
#include <gtest/gtest.h>
#include <unistd.h>

#include "framework/posix/posix_platform.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

using PrivateTemporaryFolderTest = SandboxTest;

TEST_F(PrivateTemporaryFolderTest, ATrailingSlashOrALinkNamesTheSameRealFolder) {
  fs::create_directories(At("real"));
  fs::create_directory_symlink(At("real"), At("via-link"));
  const std::string expected = fs::canonical(At("real")).string() + "/ostrel-" + std::to_string(getuid());
  for (const std::string& base : {At("real"), At("real/"), At("real//"), At("via-link"), At("via-link/")})
    EXPECT_EQ(fw::PrivateTemporaryFolder(base), expected) << base;
  EXPECT_TRUE(fs::is_directory(expected));
}

}  // namespace
}  // namespace ostrel::test
