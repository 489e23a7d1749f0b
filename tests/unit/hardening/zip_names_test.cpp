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

}  // namespace
}  // namespace ostrel::test
