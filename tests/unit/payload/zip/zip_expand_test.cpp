// Expansion of archives in-process: into a folder that is made when missing,
// beside what is there, or in place of it when asked. (A good archive's
// landing is in zip_fast_path_test.cpp, both ways; damaged archives are in
// faults/, hostile ones in hardening/, each by every road.)
#include <filesystem>

#include "payload/archives.h"
#include "payload/zip/zip_expand.h"
#include "support/sandbox.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

using PayloadZipExpandTest = SandboxTest;

TEST_F(PayloadZipExpandTest, CreatesAMissingFolderAndLeavesOtherFilesAlone) {
  WriteFile(At("dest/deep/keep.txt"), "mine");
  WriteFile(At("dest/deep/a.txt"), "old");
  WriteZip(At("a.zip"), {{"a.txt", "new"}});
  ASSERT_TRUE(ExpandZipArchive(At("a.zip"), At("dest/deep")).ok);
  EXPECT_EQ(ReadFile(At("dest/deep/a.txt")), "new");
  EXPECT_EQ(ReadFile(At("dest/deep/keep.txt")), "mine");
  ASSERT_TRUE(ExpandZipArchive(At("a.zip"), At("dest/new/er")).ok);
  EXPECT_EQ(ReadFile(At("dest/new/er/a.txt")), "new");
}

TEST_F(PayloadZipExpandTest, AMissingArchiveOrNoArchiveAtAllFailsWithAReason) {
  WriteFile(At("garbage.zip"), "this is not an archive at all");
  for (const char* name : {"garbage.zip", "missing.zip"}) {
    SCOPED_TRACE(name);
    const auto r = ExpandZipArchive(At(name), At("dest"));
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(r.error.empty());
    EXPECT_FALSE(ViewConst::ZipFileToFolder(At(name), At("dest"), false));
  }
}

TEST_F(PayloadZipExpandTest, ZipFileToFolderReplacesTheFolderOnlyWhenAsked) {
  WriteFile(At("dest/keep.txt"), "mine");
  WriteZip(At("my choice.zip"), {{"a.txt", "new"}});
  EXPECT_TRUE(ViewConst::ZipFileToFolder(At("my choice.zip"), At("dest"), false));
  EXPECT_EQ(ReadFile(At("dest/a.txt")), "new");
  EXPECT_TRUE(fs::exists(At("dest/keep.txt")));

  EXPECT_TRUE(ViewConst::ZipFileToFolder(At("my choice.zip"), At("dest"), true));
  EXPECT_EQ(ReadFile(At("dest/a.txt")), "new");
  EXPECT_FALSE(fs::exists(At("dest/keep.txt")));
  EXPECT_THROW(ViewConst::ZipFileToFolder("my choice.zip", At("dest"), false), fw::NilObjectException);
}

}  // namespace
}  // namespace ostrel::test
