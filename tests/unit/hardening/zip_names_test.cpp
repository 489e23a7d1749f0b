// Archive entry names that try to leave the destination, or that the
// system cannot hold: whatever the name, nothing is written outside, and a
// name that climbs is refused before anything is written.
#include <algorithm>

#include "fileutil/view_const.h"
#include "hardening_fixture.h"

namespace ostrel::test {
namespace {

using HardeningZipNames = HardeningTest;

TEST_F(HardeningZipNames, ClimbingAndAbsoluteNamesAreRefusedBeforeAnythingIsWritten) {
  // A backslash is a plain character here, but "..\" climbs where the
  // archive was made and wherever it is unpacked on Windows: such a name is
  // refused as a climbing one.
  const std::vector<std::string> names = {"../evil.txt",
                                          "a/../../evil.txt",
                                          "./../evil.txt",
                                          "a/b/../../../AppEvil/keep.txt",
                                          "..",
                                          "..\\evil.txt",
                                          "a\\..\\..\\evil.txt",
                                          "..\\AppEvil\\keep.txt",
                                          "a/..\\..\\evil.txt",
                                          Canary() + "/keep.txt",
                                          "//" + At("evil.txt")};
  for (const auto& name : names) {
    SCOPED_TRACE("name \"" + name + "\"");
    std::string slashed = name;  // the opener names it as it is, or with a backslash as the separator it acts as
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    EachWay({File("fine.txt", "fine"), File(name, "planted")}, [&](const Outcome& o) {
      EXPECT_FALSE(o.ok);
      EXPECT_TRUE(o.route == Route::ZipFileToFolder || o.message.find(name) != std::string::npos ||
                  o.message.find(slashed) != std::string::npos)
          << o.message;
      EXPECT_TRUE(fs::is_empty(Dest()));
      EXPECT_TRUE(OutsideUnchanged());
    });
  }
}

TEST_F(HardeningZipNames, ASiblingThatSharesTheDestinationsPrefixIsOutside) {
  // The destination is ".../App"; ".../AppEvil" begins with the same bytes.
  const std::vector<std::vector<RawEntry>> archives = {
      {File("../AppEvil/keep.txt", "overwritten")},
      {Link("l", Canary())},
      {Link("l", "../App/../AppEvil")},
      {Link("a", "."), Link("b", "a/../AppEvil"), File("b/keep.txt", "overwritten")},
  };
  ExpectEachRefused(archives);
}

TEST_F(HardeningZipNames, NamesThatDifferOnlyInCaseStayInside) {
  const std::vector<RawEntry> entries = {File("a.txt", "lower"), File("A.TXT", "upper"),     Folder("Dir/"),
                                         File("dir/x", "lower x"), File("DIR/x", "upper x"), File("Dir/x", "mixed x")};
  EachWay(entries, [&](const Outcome&) {  // both land, or one wins: either is fine
    for (const auto& [path, content] : TreeOf(Dest())) {
      if (content == "<dir>" || fs::is_symlink(Dest() + "/" + path)) continue;
      EXPECT_TRUE(content == "lower" || content == "upper" || content.find(" x") != std::string::npos)
          << path << ": " << content;
    }
    EXPECT_TRUE(OutsideUnchanged());
    EXPECT_TRUE(DestHoldsOnlySafeItems());
  });
}

TEST_F(HardeningZipNames, OverlongNamesFailOrLandInsideAndTheTreeCanBeRemoved) {
  const std::string longPart(256, 'n');
  std::string longPath;
  for (int i = 0; i < 20; ++i) longPath += std::string(250, static_cast<char>('a' + i)) + "/";
  std::string deepPath;
  for (int i = 0; i < 12000; ++i) deepPath += "d/";
  EachWay({File(longPart, "x")}, [&](const Outcome& o) {
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(OutsideUnchanged());
  });
  EachWay({File(longPath + "f.txt", "deep")}, [&](const Outcome&) { EXPECT_TRUE(OutsideUnchanged()); });
  EachWay({File(deepPath + "f.txt", "deeper")}, [&](const Outcome&) {
    EXPECT_TRUE(OutsideUnchanged());
    // Whatever the expansion left, the removal takes all of it.
    ViewConst::DeleteFolderOrApp(Dest());
    EXPECT_FALSE(fs::exists(Dest()));
    fs::create_directories(Dest());
  });
}

TEST_F(HardeningZipNames, NamesThatLieAboutTheirEncodingStayInside) {
  const std::vector<std::string> names = {
      "caf\xE9.txt",                      // Latin-1, not UTF-8
      "\xFF\xFE\xFD",                     // no encoding at all
      "\xC0\xAE\xC0\xAE/evil.txt",        // ".." in overlong two-byte forms
      "..\xC0\xAF" "evil.txt",            // "/" in an overlong form
      "a/\xE0\x80\xAE\xE0\x80\xAE/evil",  // ".." in overlong three-byte forms
      "\xED\xA0\x80.txt",                 // a lone surrogate
      "x\xC0\x80y",                       // an overlong NUL
      "%2e%2e/evil.txt",
  };
  for (const uint16_t flags : {uint16_t{0}, uint16_t{0x0800}}) {
    for (const auto& name : names) {
      SCOPED_TRACE("name \"" + name + (flags ? "\" flagged UTF-8" : "\" not flagged"));
      EachWay({RawEntry{.name = name, .content = "content", .flags = flags}}, [&](const Outcome&) {
        EXPECT_TRUE(OutsideUnchanged());
        EXPECT_TRUE(DestHoldsOnlySafeItems());
      });
    }
  }
}

TEST_F(HardeningZipNames, EachNameArrivesAsTheArchiveMeansItByteForByte) {
  const std::string nfc = "Caf\xC3\xA9.txt", nfd = "Cafe\xCC\x81.txt", cp437 = "Gr\x81\xE1" "e.txt";
  const std::string utf8 = "Gr\xC3\xBC\xC3\x9F" "e.txt";
  RawEntry dos = File("notempty\\second.txt", "dos");
  dos.system = 0;
  const struct {
    const char* what;
    std::vector<RawEntry> entries;
    Tree expected;
  } cases[] = {
      {"composed and decomposed: two files", {File(nfc, "composed"), File(nfd, "decomposed")},
       {{nfc, "composed"}, {nfd, "decomposed"}}},
      {"decomposed, flagged UTF-8", {RawEntry{.name = nfd, .content = "d", .flags = 0x0800}}, {{nfd, "d"}}},
      {"flagged UTF-8 though it is not", {RawEntry{.name = cp437, .content = "f", .flags = 0x0800}}, {{cp437, "f"}}},
      {"flagged UTF-8 beside a Unicode Path field",
       {RawEntry{.name = nfc, .content = "u", .flags = 0x0800, .extra = UnicodePathField(nfc, "other.txt")}},
       {{nfc, "u"}}},
      {"code page 437 without the flag", {File(cp437, "old windows")}, {{utf8, "old windows"}}},
      {"UTF-8 without the flag", {File(utf8, "mac")}, {{utf8, "mac"}}},
      {"a matching Unicode Path field",
       {RawEntry{.name = cp437, .content = "7z", .extra = UnicodePathField(cp437, "Stra\xC3\x9F" "e.txt")}},
       {{"Stra\xC3\x9F" "e.txt", "7z"}}},
      {"a stale Unicode Path field",
       {RawEntry{.name = cp437, .content = "old", .extra = UnicodePathField("other", "Stra\xC3\x9F" "e.txt")}},
       {{utf8, "old"}}},
      {"a backslash made on Windows", {dos}, {{"notempty", "<dir>"}, {"notempty/second.txt", "dos"}}},
      {"a backslash made on Unix", {File("aa\\bb\\cc\\dd", "unix")}, {{"aa\\bb\\cc\\dd", "unix"}}},
      {"resource forks", {File("__MACOSX/._a.txt", "fork"), File("a.txt", "a"), File("__MACOSX.txt", "mine")},
       {{"a.txt", "a"}, {"__MACOSX.txt", "mine"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EachWay(c.entries, [&](const Outcome& o) {
      EXPECT_TRUE(o.ok) << o.message;
      Tree written = TreeOf(Dest());
      written.erase("zz-inward-link");
      EXPECT_EQ(written, c.expected);
    });
  }
  // A name with a NUL byte would be cut short: refused whole, nothing written.
  EachWay({File("fine.txt", "fine"), File(std::string("a\0b6bd", 6), "cut")}, [&](const Outcome& o) {
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(o.route == Route::ZipFileToFolder || o.message.find("a\\0b6bd") != std::string::npos) << o.message;
    EXPECT_TRUE(fs::is_empty(Dest()));
  });
}

}  // namespace
}  // namespace ostrel::test
