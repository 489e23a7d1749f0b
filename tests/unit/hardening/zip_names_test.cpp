// Archive entry names that try to leave the destination, or that the
// system cannot hold: whatever the name, nothing is written outside, and a
// name that climbs is refused before anything is written.
#include <fcntl.h>
#include <unistd.h>

#include "fileutil/view_const.h"
#include "hardening_fixture.h"

namespace ostrel::test {
namespace {

// An archive with a link goes to the general reader, one without to the
// fast one: each name is tried both ways.
std::vector<RawEntry> WithInwardLink(std::vector<RawEntry> entries) {
  entries.push_back(Link("zz-inward-link", "keep.txt"));
  return entries;
}

struct Variant {
  Route route;
  bool withLink;
};
const Variant kVariants[] = {{Route::ZipFileToFolder, false}, {Route::ZipFileToFolder, true},
                             {Route::Opener, false},          {Route::Opener, true}};

std::string Trace(const Variant& v, const std::string& name) {
  return std::string(RouteName(v.route)) + (v.withLink ? ", with a link" : ", plain") + ", name \"" + name + "\"";
}

class HardeningZipNames : public HardeningTest {
 protected:
  Outcome Try(const Variant& v, std::vector<RawEntry> entries) {
    return Expand(BuildRawZip(v.withLink ? WithInwardLink(std::move(entries)) : std::move(entries)), v.route);
  }
  bool DestIsEmpty() const { return fs::is_empty(Dest()); }
};

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
  for (const auto& v : kVariants) {
    for (const auto& name : names) {
      SCOPED_TRACE(Trace(v, name));
      const Outcome o = Try(v, {File("fine.txt", "fine"), File(name, "planted")});
      EXPECT_FALSE(o.ok);
      if (v.route == Route::Opener) {
        EXPECT_FALSE(o.message.empty());
      }
      EXPECT_TRUE(DestIsEmpty());
      EXPECT_TRUE(OutsideUnchanged());
      ClearDest();
    }
  }
}

TEST_F(HardeningZipNames, ASiblingThatSharesTheDestinationsPrefixIsOutside) {
  // The destination is ".../App"; ".../AppEvil" begins with the same bytes.
  const std::vector<std::vector<RawEntry>> archives = {
      {File("../AppEvil/keep.txt", "overwritten")},
      {Link("l", "../AppEvil"), File("l/keep.txt", "overwritten")},
      {Link("l", Canary())},
      {Link("l", "../App/../AppEvil")},
      {Link("l", "sub/../../AppEvil")},
      // Each link reads as inside alone; "a" is the destination itself, so
      // "a/.." is its parent.
      {Link("a", "."), Link("b", "a/../AppEvil")},
      {Link("a", "."), Link("b", "a/../AppEvil"), File("b/keep.txt", "overwritten")},
  };
  ExpectEachRefused(archives);
}

TEST_F(HardeningZipNames, NamesThatDifferOnlyInCaseStayInside) {
  const std::vector<RawEntry> entries = {File("a.txt", "lower"), File("A.TXT", "upper"),     Folder("Dir/"),
                                         File("dir/x", "lower x"), File("DIR/x", "upper x"), File("Dir/x", "mixed x")};
  for (const auto& v : kVariants) {
    SCOPED_TRACE(Trace(v, "a.txt and A.TXT"));
    Try(v, entries);  // both land, or one wins: either is fine
    for (const auto& e : fs::recursive_directory_iterator(Dest())) {
      if (!e.is_regular_file()) continue;
      const std::string content = ReadFile(e.path());
      EXPECT_TRUE(content == "lower" || content == "upper" || content.find(" x") != std::string::npos || content == "keep")
          << e.path() << ": " << content;
    }
    EXPECT_TRUE(OutsideUnchanged());
    EXPECT_TRUE(DestHoldsOnlySafeItems());
    ClearDest();
  }
}

TEST_F(HardeningZipNames, OverlongNamesFailOrLandInsideAndTheTreeCanBeRemoved) {
  const std::string longPart(256, 'n');
  std::string longPath;
  for (int i = 0; i < 20; ++i) longPath += std::string(250, static_cast<char>('a' + i)) + "/";
  std::string deepPath;
  for (int i = 0; i < 12000; ++i) deepPath += "d/";
  for (const auto& v : kVariants) {
    SCOPED_TRACE(Trace(v, "a part of 256 bytes"));
    EXPECT_FALSE(Try(v, {File(longPart, "x")}).ok);
    EXPECT_TRUE(OutsideUnchanged());
    ClearDest();

    SCOPED_TRACE(Trace(v, "a path of 5020 bytes"));
    Try(v, {File(longPath + "f.txt", "deep")});
    EXPECT_TRUE(OutsideUnchanged());
    ClearDest();

    SCOPED_TRACE(Trace(v, "a path of 12000 folders"));
    Try(v, {File(deepPath + "f.txt", "deeper")});
    EXPECT_TRUE(OutsideUnchanged());
    // Whatever the expansion left, the removal takes all of it.
    ViewConst::DeleteFolderOrApp(Dest());
    EXPECT_FALSE(fs::exists(Dest()));
    fs::create_directories(Dest());
  }
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
  for (const auto& v : kVariants) {
    for (const uint16_t flags : {uint16_t{0}, uint16_t{0x0800}}) {
      for (const auto& name : names) {
        SCOPED_TRACE(Trace(v, name) + (flags ? " flagged UTF-8" : " not flagged"));
        RawEntry e = File(name, "content");
        e.flags = flags;
        Try(v, {e});
        EXPECT_TRUE(OutsideUnchanged());
        EXPECT_TRUE(DestHoldsOnlySafeItems());
        ClearDest();
      }
    }
  }
}

}  // namespace
}  // namespace ostrel::test
