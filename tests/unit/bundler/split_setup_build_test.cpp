// Split setups and the manifest as the builder writes them: the pieces, laid
// beside the bundle or one per disc folder, join into the archive an unsplit
// build carries, and every payload file is listed as the stub checks it.
#include <gtest/gtest.h>

#include <filesystem>

#include "bundler/bundle.h"
#include "bundler/description_file.h"
#include "framework/sha256.h"
#include "payload/manifest.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

using bundler::BuildBundle;

class SplitSetupBuildTest : public BundlerTest {
 protected:
  bundler::SetupDescription Split(int64_t size, bool discs) {
    auto d = FullDescription();
    d.payloadFolder = MakePayload("payload");
    d.splitSize = size;
    d.splitIntoDiscFolders = discs;
    return d;
  }
  // Each listed file has the size and digest the manifest gives.
  void ExpectListed(const PayloadManifest& manifest, const std::string& name, const std::string& path) {
    const ManifestEntry* entry = manifest.Find(name);
    ASSERT_NE(entry, nullptr) << name;
    EXPECT_EQ(entry->size, fs::file_size(path)) << name;
    EXPECT_EQ(entry->sha256, fw::Sha256OfFile(path)) << name;
  }
};

TEST_F(SplitSetupBuildTest, PiecesBesideTheBundleJoinIntoTheUnsplitArchive) {
  const std::string whole = BuildBundle(Split(0, false), stub, At("whole"));
  const std::string archive = ReadFile(whole + "/Contents/Resources/Data2");
  const auto unsplit = PayloadManifest::Parse(ReadFile(whole + "/Contents/Resources/Manifest"));
  EXPECT_EQ(unsplit.Entries().size(), 2u);
  ExpectListed(unsplit, "Data2", whole + "/Contents/Resources/Data2");
  ExpectListed(unsplit, "Data3", whole + "/Contents/Resources/Data3");

  WriteFile(At("out/Data#9"), "a piece of an earlier build");
  WriteFile(At("out/notes.txt"), "the publisher's own");
  const int64_t size = static_cast<int64_t>(archive.size()) / 3;  // four pieces, the last one short
  const std::string bundle = BuildBundle(Split(size, false), stub, At("out"));
  EXPECT_EQ(bundle, At("out/Demo Setup.app"));
  EXPECT_FALSE(fs::exists(bundle + "/Contents/Resources/Data2"));
  EXPECT_EQ(ReadFile(bundle + "/Contents/Resources/Data#1") + ReadFile(At("out/Data#2")) +
                ReadFile(At("out/Data#3")) + ReadFile(At("out/Data#End")),
            archive);
  EXPECT_EQ(fs::file_size(At("out/Data#2")), static_cast<uintmax_t>(size));
  EXPECT_FALSE(fs::exists(At("out/Data#9")));
  EXPECT_EQ(ReadFile(At("out/notes.txt")), "the publisher's own");
  std::vector<std::string> names;
  for (auto& e : fs::directory_iterator(At("out"))) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"Data#2", "Data#3", "Data#End", "Demo Setup.app", "notes.txt"}));

  const auto manifest = PayloadManifest::Parse(ReadFile(bundle + "/Contents/Resources/Manifest"));
  EXPECT_EQ(manifest.Entries().size(), 5u);
  ExpectListed(manifest, "Data#1", bundle + "/Contents/Resources/Data#1");
  ExpectListed(manifest, "Data3", bundle + "/Contents/Resources/Data3");
  for (const char* piece : {"Data#2", "Data#3", "Data#End"}) ExpectListed(manifest, piece, At("out/") + piece);
}

TEST_F(SplitSetupBuildTest, OneFolderPerDiscHoldsTheBundleOrOnePiece) {
  WriteFile(At("out/Disc5/Data#End"), "the last piece of an earlier, longer build");
  const std::string bundle = BuildBundle(Split(300, true), stub, At("out"));
  EXPECT_EQ(bundle, At("out/Disc1/Demo Setup.app"));
  size_t discs = 1;
  while (fs::exists(At("out/Disc" + std::to_string(discs + 1)))) ++discs;
  ASSERT_GE(discs, 3u);
  for (size_t k = 2; k < discs; ++k)
    EXPECT_EQ(fs::file_size(At("out/Disc" + std::to_string(k) + "/Data#" + std::to_string(k))), 300u);
  EXPECT_TRUE(fs::exists(At("out/Disc" + std::to_string(discs) + "/Data#End")));
  EXPECT_EQ(std::distance(fs::directory_iterator(At("out")), {}), static_cast<long>(discs));
}

TEST_F(SplitSetupBuildTest, AnArchiveThatFitsOnePieceIsRefusedAndLeavesNothing) {
  EXPECT_THROW(BuildBundle(Split(int64_t{1} << 30, false), stub, At("out")), bundler::BadInput);
  EXPECT_TRUE(fs::is_empty(At("out")));

  auto parse = [&](const std::string& body) {
    WriteFile(At("desc/payload/a.txt"), "a");
    return bundler::ParseDescription("name = N\ntarget = T\npayload = payload\n" + body, At("desc"), "d.setup");
  };
  EXPECT_EQ(parse("split_size = 650M\n").splitSize, 650 * 1048576);
  EXPECT_EQ(parse("split_size = 4G\nsplit_layout = discs\n").splitSize, int64_t{4} << 30);
  EXPECT_TRUE(parse("split_size = 1000\nsplit_layout = discs\n").splitIntoDiscFolders);
  for (const char* bad : {"split_size = 0\n", "split_size = 12X\n", "split_layout = beside\n",
                          "split_size = 1K\nsplit_layout = tapes\n"})
    EXPECT_THROW(parse(bad), bundler::BadInput) << bad;
}

}  // namespace
}  // namespace ostrel::test
