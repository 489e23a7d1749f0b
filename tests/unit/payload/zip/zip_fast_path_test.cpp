// The fast expander's own rules: the common archive goes its way and lands
// as the general expander would land it; an archive that lies about itself
// (shared bytes, sizes, checksums, entry counts, a cut-off file) fails with
// a reason before or while writing, never with a crash and never outside
// its destination; anything unusual goes the general way.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "payload/archives.h"
#include "payload/zip/zip_opener.h"
#include "support/raw_zip.h"
#include "support/sandbox.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

using Kind = ZipEntry::Kind;

struct Outcome {
  bool ok = false, fast = false;
  std::string error;
  int64_t done = 0, total = 0;
};

mode_t Umask() {
  const mode_t mask = umask(022);
  umask(mask);
  return mask;
}

class PayloadZipFastPathTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    fs::create_directories(At("outside"));
    fs::create_directories(At("dest"));
  }

  // Expands through the opener's job, the way a launch of the archive does.
  Outcome Expand(const std::string& zipBytes, const std::string& into = "dest") {
    WriteFile(At("a.zip"), zipBytes);
    return ExpandFile(At("a.zip"), into);
  }
  Outcome ExpandFile(const std::string& zip, const std::string& into = "dest") {
    auto job = StartZipExpansion(zip, At(into));
    job->Wait();
    return {job->Succeeded(), job->UsedFastPath(), job->Error(), job->Done(), job->Total()};
  }

  bool NothingWritten() const { return fs::is_empty(At("dest")) && fs::is_empty(At("outside")); }

  static struct stat Stat(const std::string& path) {
    struct stat st{};
    lstat(path.c_str(), &st);
    return st;
  }
};

TEST_F(PayloadZipFastPathTest, ACommonArchiveLandsAsTheGeneralExpanderLandsIt) {
  const std::vector<ZipEntry> entries = {{"App/", "", Kind::Folder, 0755},
                                         {"App/readme.txt", "hello\n", Kind::File, 0644},
                                         {"App/bin/tool", "#!/bin/sh\n", Kind::File, 0755},
                                         {"App/bin/su", "x", Kind::File, 06755},
                                         {"App/locked/", "", Kind::Folder, 0500},
                                         {"App/locked/inside", "in a read-only folder", Kind::File, 0444},
                                         {"App/deep/er/still/file", std::string(300000, 'd'), Kind::File, 0600},
                                         {"App/empty", "", Kind::File, 0664}};
  WriteZip(At("plain.zip"), entries);
  auto withLink = entries;
  withLink.push_back({"App/link", "readme.txt", Kind::Link});
  withLink.push_back({"App/lib/deep", "../deep/er/still/file", Kind::Link});
  withLink.push_back({"./App//dotted.txt", "a name made plain"});
  WriteZip(At("linked.zip"), withLink);

  const Outcome fast = ExpandFile(At("plain.zip"), "dest/fast");
  const Outcome general = ExpandFile(At("linked.zip"), "dest/general");
  ASSERT_TRUE(fast.ok) << fast.error;
  ASSERT_TRUE(general.ok) << general.error;
  EXPECT_TRUE(fast.fast);
  EXPECT_FALSE(general.fast);  // a link sends the whole archive the general way
  for (const Outcome& o : {fast, general}) {
    EXPECT_EQ(o.done, o.total);
    EXPECT_GT(o.total, 300000);
  }

  for (const auto& e : entries) {
    SCOPED_TRACE(e.name);
    const std::string name = e.name.back() == '/' ? e.name.substr(0, e.name.size() - 1) : e.name;
    const struct stat a = Stat(At("dest/fast/" + name)), b = Stat(At("dest/general/" + name));
    EXPECT_EQ(a.st_mode, b.st_mode);
    EXPECT_EQ(a.st_mode & 07777, static_cast<mode_t>(e.mode) & 0777 & ~Umask());
    EXPECT_EQ(a.st_mtim.tv_sec, b.st_mtim.tv_sec);
    EXPECT_EQ(a.st_mtim.tv_sec, 1700000000);
    if (e.kind == Kind::File) {
      EXPECT_EQ(ReadFile(At("dest/fast/" + name)), e.content);
      EXPECT_EQ(ReadFile(At("dest/general/" + name)), e.content);
    }
  }
  // The general way's own: links as written and read through, names made plain.
  EXPECT_EQ(fs::read_symlink(At("dest/general/App/link")), "readme.txt");
  EXPECT_EQ(ReadFile(At("dest/general/App/lib/deep")), std::string(300000, 'd'));
  EXPECT_EQ(ReadFile(At("dest/general/App/dotted.txt")), "a name made plain");
  chmod(At("dest/fast/App/locked").c_str(), 0700);
  chmod(At("dest/general/App/locked").c_str(), 0700);
}

TEST_F(PayloadZipFastPathTest, ReplacesWhatIsInTheWayWithoutWritingThroughLinks) {
  WriteFile(At("dest/App/keep.txt"), "mine");
  WriteFile(At("dest/App/readme.txt"), "old and longer");
  WriteFile(At("outside/target"), "outside");
  fs::create_symlink(At("outside/target"), At("dest/App/linked.txt"));
  WriteFile(At("dest/App/sub"), "a file where a folder goes");
  const auto r = Expand(BuildRawZip({Packed("App/readme.txt", "new"), Packed("App/linked.txt", "replaced"), Packed("App/sub/f", "f")}));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_TRUE(r.fast);
  EXPECT_EQ(ReadFile(At("dest/App/readme.txt")), "new");
  EXPECT_EQ(ReadFile(At("dest/App/keep.txt")), "mine");
  EXPECT_FALSE(fs::is_symlink(At("dest/App/linked.txt")));
  EXPECT_EQ(ReadFile(At("dest/App/linked.txt")), "replaced");
  EXPECT_EQ(ReadFile(At("outside/target")), "outside");
  EXPECT_EQ(ReadFile(At("dest/App/sub/f")), "f");

  // A link where a folder belongs is not followed: the expansion fails.
  fs::create_directory_symlink(At("outside"), At("dest/Other"));
  const auto through = Expand(BuildRawZip({Packed("Other/evil", "bad")}));
  EXPECT_FALSE(through.ok);
  EXPECT_NE(through.error.find("\"Other\""), std::string::npos) << through.error;
  EXPECT_FALSE(fs::exists(At("outside/evil")));
}

TEST_F(PayloadZipFastPathTest, UnusualArchivesGoTheGeneralWay) {
  // Encrypted, and a method this reader does not know: left to the general
  // expander, which cannot read them either.
  for (const RawEntry& e : {RawEntry{.name = "locked.txt", .content = "secret", .flags = 1},
                            RawEntry{.name = "odd.txt", .content = "odd", .method = 12}}) {
    SCOPED_TRACE(e.name);
    const auto r = Expand(BuildRawZip({e}));
    EXPECT_FALSE(r.fast);
    EXPECT_FALSE(r.ok);
  }
  // Stored entries and zip64 end records are common enough to stay fast.
  const auto r = Expand(BuildRawZip({File("s.txt", "stored"), Packed("d.txt", "deflated")}, {.zip64 = true}));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_TRUE(r.fast);
  EXPECT_EQ(ReadFile(At("dest/s.txt")), "stored");
  EXPECT_EQ(ReadFile(At("dest/d.txt")), "deflated");
}

TEST_F(PayloadZipFastPathTest, EntriesThatShareTheirBytesAreRefusedBeforeAnythingIsWritten) {
  // The first entry's data claims to run on over the second one's header:
  // a few bytes named again and again is how a small archive fills a disc.
  RawEntry first = File("first.txt", std::string(1000, 'a'));
  first.claimedSize = first.claimedCompressedSize = 1200;
  const auto r = Expand(BuildRawZip({first, File("second.txt", std::string(5000, 'b'))}));
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("share their bytes"), std::string::npos) << r.error;
  EXPECT_TRUE(NothingWritten());
  EXPECT_FALSE(ViewConst::ZipFileToFolder(At("a.zip"), At("dest"), false));
  EXPECT_TRUE(NothingWritten());
}

TEST_F(PayloadZipFastPathTest, LyingSizesFailWithTheEntrysName) {
  const std::string text(100000, 't');
  // Above the whole-entry limit, so streamed; numbered blocks keep it within
  // what compression can give.
  std::string zeros(40 << 20, '\0');
  for (size_t at = 0; at < zeros.size(); at += 4096) zeros.replace(at, 8, std::to_string(10000000 + at).substr(0, 8));
  const auto claims = [](const char* name, const std::string& content, bool deflate, uint64_t size) {
    return RawEntry{.name = name, .content = content, .deflate = deflate, .claimedSize = size};
  };
  struct Case {
    const char* what;
    RawEntry entry;
    const char* expect;
  } cases[] = {
      {"small, claims less", claims("a.txt", text, true, text.size() - 1), "holds more"},
      {"small, claims more", claims("a.txt", text, true, text.size() + 1), "holds less"},
      {"streamed, claims less", claims("z.bin", zeros, true, zeros.size() - 1), "holds more"},
      {"streamed, claims more", claims("z.bin", zeros, true, zeros.size() + 4096), "holds less"},
      {"stored, sizes differ", claims("s.txt", text, false, text.size() + 1), "disagree"},
      {"beyond any compression", claims("b.bin", "tiny", true, 4000000000), "more than compression"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const auto r = Expand(BuildRawZip({c.entry}));
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.fast);
    EXPECT_NE(r.error.find(c.expect), std::string::npos) << r.error;
    EXPECT_NE(r.error.find(c.entry.name), std::string::npos) << r.error;
    EXPECT_TRUE(fs::is_empty(At("outside")));
    // The general reader, taken for an archive with a link, fails them too.
    const auto general = Expand(BuildRawZip({Link("l", "a.txt"), c.entry}));
    EXPECT_FALSE(general.ok);
    EXPECT_FALSE(general.fast);
    EXPECT_NE(general.error.find(c.entry.name), std::string::npos) << general.error;
  }
}

TEST_F(PayloadZipFastPathTest, AChecksumThatDoesNotMatchFailsTheExpansion) {
  for (bool deflate : {true, false}) {
    SCOPED_TRACE(deflate);
    const RawEntry e{.name = "c.txt", .content = "checked content", .deflate = deflate, .claimedCrc = 0x12345678};
    const auto r = Expand(BuildRawZip({Packed("fine.txt", "fine"), e}));
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find("\"c.txt\" does not match its checksum"), std::string::npos) << r.error;
    EXPECT_FALSE(ViewConst::ZipFileToFolder(At("a.zip"), At("dest"), true));
  }
}

TEST_F(PayloadZipFastPathTest, EntryCountsTheDirectoryCannotHoldAreRefusedAtOnce) {
  const std::vector<RawEntry> two = {Packed("a.txt", "a"), Packed("b.txt", "b")};
  for (const RawLayout& layout : {RawLayout{60000, false}, RawLayout{uint64_t(1) << 40, true},
                                  RawLayout{~uint64_t(0), true}}) {
    SCOPED_TRACE(*layout.claimedEntries);
    const auto r = Expand(BuildRawZip(two, layout));
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.fast);
    EXPECT_NE(r.error.find("claims " + std::to_string(*layout.claimedEntries) + " entries"), std::string::npos)
        << r.error;
    EXPECT_TRUE(NothingWritten());
  }
}

TEST_F(PayloadZipFastPathTest, DirectoryRecordsThatPointPastTheDataOrAstrayFailCleanly) {
  // (Archives cut anywhere are in faults/damaged_archive_test.cpp.)
  RawEntry late = Packed("late.txt", "x"), astray = Packed("astray.txt", "x");
  late.claimedCompressedSize = 1 << 20;
  astray.claimedLocalOffset = 7;
  for (const RawEntry& e : {late, astray}) {
    SCOPED_TRACE(e.name);
    const auto r = Expand(BuildRawZip({Packed("first.txt", "first"), e}));
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.fast);
    EXPECT_NE(r.error.find(e.name), std::string::npos) << r.error;
    EXPECT_TRUE(NothingWritten());
  }
}

}  // namespace
}  // namespace ostrel::test
