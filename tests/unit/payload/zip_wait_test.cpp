// The wait for the main archive's expansion and the removal of the archive.
#include <filesystem>

#include "core/ostrel_stub_window.h"
#include "payload/archives.h"
#include "payload/expansion_wait.h"
#include "payload/zip/zip_opener.h"
#include "support/raw_zip.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

TEST(PayloadWaitTicksTest, UnitsOfThreeMillionBytesHalvedAndQuarteredAtTheBorders) {
  struct Case {
    int64_t length;
    int64_t ticks, slowTicks;
  } cases[] = {
      {0, 30, 60},
      {2999999, 30, 60},
      {3000000, 60, 120},
      {30000000, 330, 660},
      {30000001, 165, 330},
      {300000000, 1515, 3030},
      {300000001, 757, 1515},
      {3000000000, 7507, 15015},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ExpansionWaitTicks(c.length, false), c.ticks) << c.length;
    EXPECT_EQ(ExpansionWaitTicks(c.length, true), c.slowTicks) << c.length;
  }
}

class PayloadZipWaitTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    RegisterZipOpener();
  }

  // Runs ZipFileProcess on the archive and answers the virtual ticks it took.
  int64_t Process(const std::string& archive) {
    const int64_t before = platform.ticks;
    window.ZipFileProcess(archive, fw::FolderItem(archive));
    return platform.ticks - before;
  }

  OstrelStubWindow window;
};

TEST_F(PayloadZipWaitTest, WithNothingExpandingTheWaitLastsTheFormulasTicks) {
  EXPECT_EQ(Process(At("missing.zip")), 30);
  EXPECT_TRUE(window.ProgressBar1.Visible());
  EXPECT_EQ(window.ProgressBar1.Maximum(), 30);
  EXPECT_EQ(window.ProgressBar1.Value(), 30);

  platform.facts["sys1"] = 10;
  platform.facts["sys2"] = 13;
  EXPECT_EQ(Process(At("missing.zip")), 60);
  platform.facts.erase("sys1");  // the minor version alone does not make a slow system
  EXPECT_EQ(Process(At("missing.zip")), 30);
  EXPECT_TRUE(ui.messages.empty());
}

// The window follows the opener's job to its end and keeps its reason: a
// good archive by the fast path, a damaged one, and one built to fill the
// disc. Zeros pack tightly: the good archive's formula asks for 30 ticks,
// far less than its expansion needs, so a timed wait would end too early.
TEST_F(PayloadZipWaitTest, TheWaitFollowsTheExpansionToItsEndAndKeepsItsReason) {
  const std::string zeros(48 << 20, '\0');
  const std::string good = BuildRawZip({Packed("App/zeros", zeros), Packed("App/b", "b")});
  ASSERT_EQ(ExpansionWaitTicks(static_cast<int64_t>(good.size()), false), 30);
  RawEntry bomb = File("first.txt", std::string(1000, 'a'));
  bomb.claimedSize = bomb.claimedCompressedSize = 1100;
  const struct {
    const char* name;
    std::string bytes;
    const char* reason;
  } cases[] = {
      {"Good.zip", good, ""},
      {"Broken App.zip", good.substr(0, good.size() / 2), "it is damaged or not a zip archive"},
      {"Bomb.zip", BuildRawZip({bomb, File("second.txt", std::string(1000, 'b'))}), "it is built to exhaust the disc"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    WriteFile(At(c.name), c.bytes);
    fw::Launch(At(c.name), true);
    Process(At(c.name));
    EXPECT_EQ(window.fExpansionError.rfind(c.reason, 0), 0u) << window.fExpansionError;
    EXPECT_EQ(window.fExpansionError.empty(), *c.reason == '\0');
    EXPECT_EQ(window.ProgressBar1.Maximum(), ExpansionWaitTicks(static_cast<int64_t>(c.bytes.size()), false));
    EXPECT_EQ(window.ProgressBar1.Value(), window.ProgressBar1.Maximum());
    // The job was followed once; a second wait is a timed one.
    EXPECT_EQ(ClaimZipExpansion(At(c.name)), nullptr);
  }
  EXPECT_TRUE(platform.launches.empty());  // our own opener took them
  EXPECT_EQ(fs::file_size(At("App/zeros")), zeros.size());
  EXPECT_EQ(ReadFile(At("App/b")), "b");
  EXPECT_FALSE(fs::exists(At("first.txt")));
  EXPECT_TRUE(ui.messages.empty());  // ExpandFolder tells the user
}

TEST_F(PayloadZipWaitTest, DeleteRemovesTheArchiveAndLaunchesAPresentProgram) {
  WriteFile(At("a.zip"), "zip");
  WriteFile(At("after"), "program");
  const int64_t before = platform.ticks;
  window.ZipFileDelete(At("a.zip"), fw::FolderItem(At("after")));
  EXPECT_FALSE(fs::exists(At("a.zip")));
  EXPECT_EQ(platform.ticks, before);  // gone at once: no wait
  ASSERT_EQ(platform.launches.size(), 1u);
  EXPECT_EQ(platform.launches[0].path, At("after"));
  EXPECT_TRUE(platform.launches[0].activate);

  window.ZipFileDelete(At("gone.zip"), fw::FolderItem(At("not-there")));
  window.ZipFileDelete(At("gone.zip"), std::nullopt);
  EXPECT_EQ(platform.launches.size(), 1u);
}

TEST_F(PayloadZipWaitTest, DeleteGivesUpOnAnArchiveThatCannotGo) {
  WriteFile(At("stuck.zip/inside"), "a folder in the archive's place cannot be deleted as a file");
  const int64_t before = platform.ticks;
  window.ZipFileDelete(At("stuck.zip"), std::nullopt);
  const int64_t waited = platform.ticks - before;
  EXPECT_GE(waited, kArchiveDeleteGiveUpTicks);
  EXPECT_LE(waited, kArchiveDeleteGiveUpTicks + 60);
  EXPECT_TRUE(fs::exists(At("stuck.zip/inside")));
}

}  // namespace
}  // namespace ostrel::test
