// Expansion of archives in-process: into a folder that is made when missing,
// beside what is there, or in place of it when asked. (A good archive's
// landing is in zip_fast_path_test.cpp, both ways; damaged archives are in
// faults/, hostile ones in hardening/, each by every road.)
#include <filesystem>

#include "payload/archives.h"
#include "payload/zip/zip_expand.h"
#include "support/raw_zip.h"
#include "support/sandbox.h"
#include "support/snapshot.h"
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

TEST_F(PayloadZipExpandTest, ZipFileToFolderLeavesNothingOfAnArchiveThatFailsHalfway) {
  // The last entry's checksum lies: found only while writing, by either reader.
  RawEntry bad = Packed("z/last.txt", std::string(5000, 'z'));
  bad.claimedCrc = 1;
  const std::vector<std::vector<RawEntry>> archives = {
      {File("a.txt", "first"), Packed("b/c.txt", std::string(4000, 'c')), bad},
      {File("a.txt", "first"), Link("l", "a.txt"), bad}};
  WriteFile(At("parent/Old/keep.txt"), "the earlier option");
  fs::create_directories(At("parent/Empty"));
  const Tree before = TreeOf(At("parent"));
  for (size_t i = 0; i < archives.size(); ++i) {
    SCOPED_TRACE("archive " + std::to_string(i));
    WriteFile(At("bad.zip"), BuildRawZip(archives[i]));
    EXPECT_FALSE(ViewConst::ZipFileToFolder(At("bad.zip"), At("parent/New"), false));
    EXPECT_FALSE(ViewConst::ZipFileToFolder(At("bad.zip"), At("parent/Empty"), false));
    EXPECT_FALSE(ViewConst::ZipFileToFolder(At("bad.zip"), At("parent/Old"), true));
    EXPECT_EQ(TreeOf(At("parent")), before);
  }
}

}  // namespace
}  // namespace ostrel::test
