// Expansion of archives in-process: into a folder that is made when missing,
// beside what is there; a hostile archive writes nothing outside its
// destination, a damaged one fails cleanly. (A good archive's landing is in
// zip_fast_path_test.cpp, both ways; the hostile suite tries many more
// archives by every road.)
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "payload/archives.h"
#include "payload/zip/zip_expand.h"
#include "support/sandbox.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

using Kind = ZipEntry::Kind;

class PayloadZipExpandTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    fs::create_directories(At("outside"));
    fs::create_directories(At("dest"));
  }

  ExpandResult Expand(const std::vector<ZipEntry>& entries) {
    WriteZip(At("a.zip"), entries);
    return ExpandZipArchive(At("a.zip"), At("dest"));
  }

  bool OutsideUntouched() const {
    return fs::is_empty(At("outside")) && !fs::exists(fs::symlink_status(At("evil")));
  }

  bool Present(const std::string& relative) const { return fs::exists(fs::symlink_status(At(relative))); }
};

TEST_F(PayloadZipExpandTest, AHostileEntryIsNamedAndNothingAtAllIsWritten) {
  const struct {
    const char* what;
    std::vector<ZipEntry> entries;
    std::string named;
  } cases[] = {
      {"a name that climbs", {{"fine.txt", "ok"}, {"../outside/evil", "bad"}}, "../outside/evil"},
      {"a name that climbs from inside", {{"fine.txt", "ok"}, {"a/../../evil", "bad"}}, "a/../../evil"},
      {"an absolute name", {{"fine.txt", "ok"}, {At("outside/abs"), "bad"}}, At("outside/abs")},
      {"a link out", {{"link", "../outside", Kind::Link}, {"link/evil", "bad"}}, "\"link\""},
      {"an absolute link", {{"link", At("outside"), Kind::Link}, {"link/evil", "bad"}}, "\"link\""},
      {"a link that climbs from inside", {{"link", "a/../../outside", Kind::Link}, {"link/evil", "bad"}}, "\"link\""},
      // "here/.." reads as the destination itself, but "here" is the
      // destination, so on the disc "up" would name the folder above it.
      {"a link out through an earlier one", {{"here", ".", Kind::Link}, {"up", "here/../outside", Kind::Link}}, "\"up\""},
      {"a file through an inward link", {{"real/", "", Kind::Folder, 0755}, {"alias", "real", Kind::Link}, {"alias/f", "x"}},
       "\"alias/f\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const auto r = Expand(c.entries);
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find(c.named), std::string::npos) << r.error;
    EXPECT_TRUE(fs::is_empty(At("dest")));
    EXPECT_TRUE(OutsideUntouched());
  }
}

TEST_F(PayloadZipExpandTest, DamagedArchivesFailWithAReason) {
  WriteZip(At("good.zip"), {{"a.txt", std::string(100000, 'a')}, {"b.txt", "b"}});
  const std::string bytes = ReadFile(At("good.zip"));
  WriteFile(At("truncated.zip"), bytes.substr(0, bytes.size() / 2));
  WriteFile(At("garbage.zip"), "this is not an archive at all");
  WriteFile(At("empty.zip"), "");
  WriteZip(At("q.zip"), {{"q.txt", std::string(5000, 'q')}});
  std::string corrupted = ReadFile(At("q.zip"));
  const auto at = corrupted.find("q.txt") + 40;  // inside the compressed data behind the local header
  corrupted[at] = static_cast<char>(corrupted[at] ^ 0x55);
  WriteFile(At("corrupted.zip"), corrupted);
  for (const char* name : {"truncated.zip", "garbage.zip", "empty.zip", "missing.zip", "corrupted.zip"}) {
    SCOPED_TRACE(name);
    const auto r = ExpandZipArchive(At(name), At("dest"));
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(r.error.empty());
  }
  EXPECT_TRUE(OutsideUntouched());
}

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

TEST_F(PayloadZipExpandTest, ZipFileToFolderReplacesTheFolderOnlyWhenAsked) {
  WriteFile(At("dest/keep.txt"), "mine");
  WriteZip(At("my choice.zip"), {{"a.txt", "new"}});
  EXPECT_TRUE(ViewConst::ZipFileToFolder(At("my choice.zip"), At("dest"), false));
  EXPECT_EQ(ReadFile(At("dest/a.txt")), "new");
  EXPECT_TRUE(Present("dest/keep.txt"));

  EXPECT_TRUE(ViewConst::ZipFileToFolder(At("my choice.zip"), At("dest"), true));
  EXPECT_EQ(ReadFile(At("dest/a.txt")), "new");
  EXPECT_FALSE(Present("dest/keep.txt"));
}

TEST_F(PayloadZipExpandTest, ZipFileToFolderAnswersFalseForHostileOrDamagedArchives) {
  WriteZip(At("evil.zip"), {{"../outside/evil", "bad"}});
  WriteFile(At("junk.zip"), "junk");
  EXPECT_FALSE(ViewConst::ZipFileToFolder(At("evil.zip"), At("dest"), false));
  EXPECT_FALSE(ViewConst::ZipFileToFolder(At("junk.zip"), At("dest"), false));
  EXPECT_TRUE(OutsideUntouched());
  EXPECT_THROW(ViewConst::ZipFileToFolder("evil.zip", At("dest"), false), fw::NilObjectException);
}

}  // namespace
}  // namespace ostrel::test
