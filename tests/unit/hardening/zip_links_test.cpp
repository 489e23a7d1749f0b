// Archive entries that are not plain files: links that lead out or are
// written through, folders and links that take each other's place, hard
// links, setuid modes and device files.
#include <sys/stat.h>

#include <algorithm>

#include "hardening_fixture.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

const Route kRoutes[] = {Route::ZipFileToFolder, Route::Opener};

using HardeningZipLinks = HardeningTest;

TEST_F(HardeningZipLinks, ALinkOutOrAFileThroughAnyLinkIsNamedAndNothingAtAllIsWritten) {
  const struct {
    const char* what;
    std::vector<RawEntry> entries;
    std::string named;
  } cases[] = {
      {"a link out", {Link("l", "../AppEvil"), File("l/keep.txt", "overwritten")}, "\"l\""},
      {"an absolute link", {Link("l", Canary()), File("l/keep.txt", "overwritten")}, "\"l\""},
      {"a link that climbs from inside", {Link("l", "sub/../../AppEvil")}, "\"l\""},
      // "a/.." reads as the destination itself, but "a" is the destination,
      // so on the disc "b" would name the folder above it.
      {"a link out through an earlier one", {Link("a", "."), Link("b", "a/../AppEvil")}, "\"b\""},
      {"a file through an inward link", {Folder("real/"), Link("alias", "real"), File("alias/f", "x")}, "\"alias/f\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EachWay(c.entries, [&](const Outcome& o) {
      EXPECT_FALSE(o.ok);
      EXPECT_TRUE(o.route == Route::ZipFileToFolder || o.message.find(c.named) != std::string::npos) << o.message;
      EXPECT_TRUE(fs::is_empty(Dest()));
      EXPECT_TRUE(OutsideUnchanged());
    });
  }
}

TEST_F(HardeningZipLinks, NothingIsWrittenThroughALinkThatLeadsOut) {
  const std::vector<std::vector<RawEntry>> archives = {
      {Link("l", "../AppEvil"), Folder("l/sub/"), File("l/sub/planted.txt", "planted")},
      {Link("l", Canary() + "/keep.txt"), File("l", "overwritten")},
      // "g" is the destination itself, so "g/.." is the folder above it:
      // every link reads as inside alone, and the file named like the
      // second link would be written through it.
      {Link("g", "."), Link("f", "g/../AppEvil/keep.txt"), File("f", "overwritten")},
      {Link("g", "."), Link("f", "g/../AppEvil"), File("f/planted.txt", "planted")},
      // A link to a folder inside, then a link through it, then a file.
      {Folder("in/"), Link("in/up", ".."), Link("up2", "in/up/.."), File("up2/AppEvil/keep.txt", "overwritten")},
  };
  ExpectEachRefused(archives);
}

TEST_F(HardeningZipLinks, ALinkThatLeadsOutThroughAnotherIsRefusedBeforeAnythingIsWritten) {
  const std::vector<std::vector<RawEntry>> archives = {
      {File("a.txt", "a"), Folder("x/"), Link("x/up", ".."), Link("esc", "x/up/..")},
      {File("a.txt", "a"), Link("esc", "x/up/.."), Link("x/up", "..")},  // the later link decides
      {File("a.txt", "a"), Link("one", "two/.."), Link("two", "three/.."), Link("three", ".")},
      {File("a.txt", "a"), Link("loop", "pool"), Link("pool", "loop")},  // leads nowhere: refused too
      // The destination already holds links; the archive leads out through them.
      {File("a.txt", "a"), Link("esc", "here/..")},
      {File("a.txt", "a"), Link("esc", "abs/..")},
  };
  symlink(".", (Dest() + "/here").c_str());
  symlink(Dest().c_str(), (Dest() + "/abs").c_str());
  for (const Route route : kRoutes) {
    for (const auto& entries : archives) {
      SCOPED_TRACE(std::string(RouteName(route)) + ", " + entries.back().name + " -> " + entries.back().content);
      const Outcome o = Expand(BuildRawZip(entries), route);
      EXPECT_FALSE(o.ok);
      std::vector<std::string> left;
      for (const auto& e : fs::directory_iterator(Dest())) left.push_back(e.path().filename().string());
      std::sort(left.begin(), left.end());
      EXPECT_EQ(left, (std::vector<std::string>{"abs", "here"})) << "written before the refusal";
      EXPECT_TRUE(OutsideUnchanged());
    }
  }
}

TEST_F(HardeningZipLinks, AFolderAndALinkOfTheSameNameNeverLeadOut) {
  const std::vector<std::vector<RawEntry>> archives = {
      {Folder("d/"), File("d/f.txt", "in the folder"), Link("d", "../AppEvil")},
      {Folder("d/"), Link("d", "."), File("d/g.txt", "through the link")},
      {Link("d", "."), Folder("d/"), File("d/g.txt", "through the link")},
      {Link("d", "../AppEvil"), Folder("d/"), File("d/keep.txt", "overwritten")},
      {File("d", "a file first"), Link("d", "../AppEvil"), File("d/keep.txt", "overwritten")},
  };
  for (size_t i = 0; i < archives.size(); ++i) {
    SCOPED_TRACE("archive " + std::to_string(i));
    EachWay(archives[i], [&](const Outcome&) {
      EXPECT_TRUE(OutsideUnchanged());
      EXPECT_TRUE(DestHoldsOnlySafeItems());
    });
  }
}

TEST_F(HardeningZipLinks, AHardLinkIsNeverMade) {
  // Zip has no hard links: a writer asked for one stores an empty file,
  // which must stay a file of its own.
  WriteZip(At("archives/hard.zip"), {{"hard1", "../AppEvil/keep.txt", ZipEntry::HardLink},
                                     {"hard2", Canary() + "/keep.txt", ZipEntry::HardLink}});
  const std::string bytes = ReadFile(At("archives/hard.zip"));
  fs::remove(At("archives/hard.zip"));
  for (const Route route : kRoutes) {
    SCOPED_TRACE(RouteName(route));
    Expand(bytes, route);
    struct stat st;
    ASSERT_EQ(stat((Canary() + "/keep.txt").c_str(), &st), 0);
    EXPECT_EQ(st.st_nlink, 1u);
    EXPECT_TRUE(OutsideUnchanged());
    ClearDest();
  }
}

TEST_F(HardeningZipLinks, SetuidSetgidAndStickyBitsAreDropped) {
  const std::vector<RawEntry> entries = {File("su", "#!/bin/sh\n", 0104755), File("sg", "x", 0102755),
                                         File("all", "x", 0107777), Folder("sticky/", 0041777),
                                         Folder("sgid/", 0042775), File("sgid/f", "x", 0106644)};
  EachWay(entries, [&](const Outcome& o) {
    EXPECT_TRUE(o.ok) << o.message;
    EXPECT_TRUE(DestHoldsOnlySafeItems());
    struct stat st;
    ASSERT_EQ(stat((Dest() + "/su").c_str(), &st), 0);
    EXPECT_NE(st.st_mode & S_IXUSR, 0u);  // the rest of the mode stays
    EXPECT_TRUE(OutsideUnchanged());
  });
}

TEST_F(HardeningZipLinks, DevicesAndSocketsAreRefusedAndNoSpecialItemIsMade) {
  struct Special {
    const char* what;
    uint32_t mode;
    bool refused;  // a pipe may also come out as a plain file
  };
  const Special specials[] = {{"character device", 0020644, true},
                              {"block device", 0060644, true},
                              {"socket", 0140644, true},
                              {"pipe", 0010644, false}};
  for (const auto& s : specials) {
    SCOPED_TRACE(s.what);
    EachWay({File("fine.txt", "fine"), File("node", "", s.mode)}, [&](const Outcome& o) {
      if (s.refused) {
        EXPECT_FALSE(o.ok);
        EXPECT_TRUE(o.route == Route::ZipFileToFolder || o.message.find("\"node\" is a device") != std::string::npos)
            << o.message;
        EXPECT_TRUE(fs::is_empty(Dest()));
      }
      EXPECT_TRUE(DestHoldsOnlySafeItems());
      EXPECT_TRUE(OutsideUnchanged());
    });
  }
}

}  // namespace
}  // namespace ostrel::test
