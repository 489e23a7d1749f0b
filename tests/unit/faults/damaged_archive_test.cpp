// Archives damaged at random, through both expanders: a valid archive of
// several files, cut at many lengths or with bytes changed from a fixed
// seed. A cut copy fails with a reason; a changed one either expands to
// files whose every byte came from the archive, or fails with a reason.
// None crashes, and none writes outside its destination.
#include <filesystem>
#include <random>
#include <set>

#include "payload/zip/zip_expand.h"
#include "unit/faults/faults_fixture.h"
#include "unit/hardening/hardening_fixture.h"

namespace ostrel::test {
namespace {

std::vector<RawEntry> Entries(bool withLink) {
  std::mt19937 gen(3);
  std::string noise(70000, '\0');
  for (auto& c : noise) c = static_cast<char>(gen());
  std::string text;
  for (int i = 0; text.size() < 20000; ++i) text += "line " + std::to_string(i) + " of a text that compresses\n";
  std::vector<RawEntry> entries = {Folder("App/"),
                                   File("App/readme.txt", "Read me.\n"),
                                   Packed("App/text.txt", text),
                                   Packed("App/noise.bin", noise),
                                   Folder("App/sub/"),
                                   Packed("App/sub/deep/part.bin", noise.substr(0, 3000)),
                                   File("App/bin/tool", "#!/bin/sh\n", 0100755),
                                   File("App/empty", "")};
  if (withLink) entries.push_back(Link("App/link", "readme.txt"));  // the general way for the whole archive
  return entries;
}

class FaultDamagedArchiveTest : public HardeningTest {
 protected:
  // Expands the bytes from a file beside the destination; the snapshot of
  // the outside is taken with the archive in place.
  ExpandResult ExpandCopy(const std::string& bytes) {
    ClearDest();
    WriteFile(At("archives/damaged.zip"), bytes);
    Remember();
    return ExpandZipArchive(At("archives/damaged.zip"), Dest());
  }

  // Every plain file below the destination holds what one of the entries held.
  bool OnlyArchiveContent(const std::set<std::string>& contents) {
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(Dest(), ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
      if (!it->is_regular_file(ec) || it->is_symlink(ec)) continue;
      if (!contents.count(ReadFile(it->path().string()))) {
        ADD_FAILURE() << it->path() << " holds " << ReadFile(it->path().string()).size()
                      << " bytes that are no entry's content";
        return false;
      }
    }
    return true;
  }
};

TEST_F(FaultDamagedArchiveTest, EveryDamagedCopyExpandsFromTheArchiveOrFailsWithAReason) {
  for (bool general : {false, true}) {
    SCOPED_TRACE(general ? "general expander" : "fast expander");
    const auto entries = Entries(general);
    const std::string good = BuildRawZip(entries);
    std::set<std::string> contents = {""};  // a folder whose type bits were hit is an empty file
    for (const auto& e : entries) contents.insert(e.content);

    const ExpandResult intact = ExpandCopy(good);
    ASSERT_TRUE(intact.ok) << intact.error;
    ASSERT_EQ(intact.fastPath, !general);
    ASSERT_EQ(ReadFile(Dest() + "/App/noise.bin"), entries[3].content);

    const size_t directory = good.find("PK\x01\x02");
    auto variants = Truncations(good, SpreadLengths(good.size(), 60));
    for (auto& v : Truncations(good, {directory - 1, directory + 1, directory + 40, good.size() - 22}))
      variants.push_back(std::move(v));
    for (auto& v : RandomDamage(good, general ? 11 : 10, 160, 6, directory)) variants.push_back(std::move(v));

    int failed = 0, fast = 0;
    for (const auto& v : variants) {
      SCOPED_TRACE(v.what);
      const ExpandResult r = ExpandCopy(v.bytes);
      EXPECT_TRUE(!r.ok || v.bytes.size() == good.size()) << "a cut archive expanded";
      if (r.ok)
        EXPECT_TRUE(OnlyArchiveContent(contents));
      else
        EXPECT_FALSE(r.error.empty());
      failed += !r.ok;
      fast += r.fastPath;
      EXPECT_TRUE(DestHoldsOnlySafeItems());
      if (!OutsideUnchanged(v.what)) break;
      EXPECT_TRUE(ReadFile(At("archives/damaged.zip")) == v.bytes);
    }
    // The damage did reach both readers, and most copies were refused.
    EXPECT_GT(fast, 0);
    EXPECT_LT(fast, static_cast<int>(variants.size()));
    EXPECT_GT(failed, static_cast<int>(variants.size()) / 2);
  }
}

}  // namespace
}  // namespace ostrel::test
