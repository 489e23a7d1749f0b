// Joining a split setup's pieces into the working archive: the order of the
// pieces, the disc prompt and its answers, the ejections, and the pieces that
// cannot be read or do not match the bundle's manifest.
#include <filesystem>

#include "framework/sha256.h"
#include "payload/manifest.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

const char* const kPrompt = "Insert next CD.  When you see the CD icon, click YES to continue or NO to quit.";

class SplitSetupTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    fs::create_directories(At("disc"));
    fs::create_directories(At("dest"));
    archive = At("dest/MyApp.zip");
    platform.SetClipboardText(At("disc") + "/");
    // Five pieces of a payload that crosses the reading chunks.
    std::string payload;
    for (uint32_t i = 0; payload.size() < 5'500'000; ++i) payload += static_cast<char>((i * 2654435761u) >> 24);
    const size_t cut = payload.size() / 5;
    for (size_t k = 0; k < 5; ++k) pieces.push_back(payload.substr(k * cut, k == 4 ? std::string::npos : cut));
    WriteFile(Resources() + "/Data#1", pieces[0]);
  }

  static std::string Name(size_t k) { return k == 4 ? "Data#End" : "Data#" + std::to_string(k + 1); }
  // Lays piece k (0 for Data#1) into the source folder, by its name.
  void Lay(size_t k) { WriteFile(At("disc/" + Name(k)), pieces[k]); }
  std::string Joined(std::initializer_list<size_t> ks) const {
    std::string all;
    for (size_t k : ks) all += pieces[k];
    return all;
  }
  void WriteManifest() {
    std::string text;
    for (size_t k = 0; k < pieces.size(); ++k) {
      fw::Sha256 sum;
      sum.Add(pieces[k].data(), pieces[k].size());
      text += PayloadManifest::Line({Name(k), pieces[k].size(), sum.HexDigest()});
    }
    WriteFile(Resources() + "/Manifest", text);
  }
  // An answer to the disc prompt that first does what the user does.
  ScriptedUI::Answer After(std::function<void()> act, const std::string& caption = "Yes") {
    return [act, caption](fw::Window& w) {
      act();
      ScriptedUI::PressCaption(caption)(w);
    };
  }
  // The archive holds exactly these pieces, in this order.
  ::testing::AssertionResult Holds(std::initializer_list<size_t> ks) const {
    const std::string expected = Joined(ks), actual = ReadFile(archive);
    if (actual == expected) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "the archive has " << actual.size() << " bytes, " << expected.size()
                                         << " expected" << (actual.size() == expected.size() ? ", which differ" : "");
  }
  std::optional<int> Combine() {
    return Run([&] { window->CombineSplitSetup(Resources() + "/Data#1", archive); });
  }
  size_t Prompts() const {
    size_t n = 0;
    for (const auto& seen : ui.modals) {
      const auto* text = seen.Find("MessageText");
      n += text && text->caption == kPrompt;
    }
    return n;
  }

  std::vector<std::string> pieces;
  std::string archive;
};

TEST_F(SplitSetupTest, PiecesFromDiscsJoinInOrderWithOneEjectionAfterEach) {
  platform.discFolders = {At("disc")};
  platform.onEject = [&](const std::string&) { fs::remove_all(At("disc")), fs::create_directories(At("disc")); };
  for (size_t k = 1; k < 5; ++k) ui.answers.push_back(After([this, k] { Lay(k); }));
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_TRUE(Holds({0, 1, 2, 3, 4}));
  EXPECT_EQ(Prompts(), 4u);
  EXPECT_EQ(platform.ejected, std::vector<std::string>(5, At("disc") + "/"));
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(SplitSetupTest, WithoutDiscsAndWithAllPiecesThereNothingIsAsked) {
  Lay(4);
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_TRUE(Holds({0, 4}));  // the first piece and the last alone
  EXPECT_TRUE(ui.modals.empty());
  EXPECT_TRUE(platform.ejected.empty());
  EXPECT_EQ(window->ProgressBar1.Value(), static_cast<int64_t>(Joined({0, 4}).size()));
}

TEST_F(SplitSetupTest, AMissingPieceIsAskedForUntilItIsThereAndNeverSkipped) {
  Lay(1);
  Lay(3);  // Data#4 is there, Data#3 and Data#End are not
  ui.answers.push_back(ScriptedUI::PressCaption("Yes"));  // the disc is still missing
  ui.answers.push_back(After([this] { Lay(2); }));
  ui.answers.push_back(After([this] { Lay(4); }));
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_TRUE(Holds({0, 1, 2, 3, 4}));
  EXPECT_EQ(Prompts(), 3u);
}

TEST_F(SplitSetupTest, AGapEndsAtTheLastPieceUnlessTheManifestListsTheMissingOne) {
  Lay(1);
  Lay(3);
  Lay(4);  // Data#3 is missing
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_TRUE(Holds({0, 1, 4}));
  EXPECT_TRUE(ui.modals.empty());

  WriteManifest();
  ui.answers.push_back(After([this] { Lay(2); }));
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_TRUE(Holds({0, 1, 2, 3, 4}));
  EXPECT_EQ(Prompts(), 1u);
}

TEST_F(SplitSetupTest, NoAtThePromptQuitsAndLeavesNoArchive) {
  Lay(1);
  ui.answers.push_back(ScriptedUI::PressCaption("No"));
  EXPECT_EQ(Combine(), 0);
  EXPECT_FALSE(fs::exists(archive));
  EXPECT_EQ(Prompts(), 1u);
}

TEST_F(SplitSetupTest, UnreadableAndDamagedPiecesAreNamedAndAskedForAgain) {
  WriteManifest();
  fs::create_directories(At("disc/Data#2"));  // cannot be read as a file
  Lay(2);
  Lay(3);
  std::string damaged = pieces[4];
  damaged[damaged.size() / 2] ^= 0x01;
  WriteFile(At("disc/Data#End"), damaged);
  ui.answers.push_back(After([this] { fs::remove(At("disc/Data#2")), Lay(1); }));
  ui.answers.push_back(After([this] { Lay(4); }));
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_EQ(ui.messages, (std::vector<std::string>{"The piece Data#2 could not be read: Is a directory.",
                                                   "The file Data#End is damaged: its checksum does not match."}));
  EXPECT_EQ(Prompts(), 2u);
  EXPECT_TRUE(Holds({0, 1, 2, 3, 4}));  // nothing of a bad piece stayed
}

TEST_F(SplitSetupTest, ADamagedFirstPieceGivesNoArchiveAndNoPrompt) {
  WriteManifest();
  WriteFile(Resources() + "/Data#1", pieces[0].substr(1));
  for (size_t k = 1; k < 5; ++k) Lay(k);
  EXPECT_EQ(Combine(), std::nullopt);
  EXPECT_EQ(ui.messages, std::vector<std::string>{"The file Data#1 is damaged: its checksum does not match."});
  EXPECT_FALSE(fs::exists(archive));
  EXPECT_TRUE(ui.modals.empty());
}

TEST_F(SplitSetupTest, ADamagedData2IsNamedAndNotUsed) {
  fs::remove(Resources() + "/Data#1");
  WriteFile(Resources() + "/Data2", "a payload");
  WriteFile(Resources() + "/Manifest", PayloadManifest::Line({"Data2", 9, fw::Sha256OfFile(Resources() + "/Data2")}));
  EXPECT_TRUE(PayloadFileIsIntact(Resources() + "/Data2"));
  WriteFile(Resources() + "/Data2", "a paYload");
  window->fTargetFolder = "MyApp";
  ui.folderAnswers.push_back(At("dest"));
  window->ExpandFolder();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0], "Installation Failed\n\nThe file Data2 is damaged: its checksum does not match.");
  EXPECT_TRUE(window->fInstallationFailed);
  EXPECT_FALSE(fs::exists(At("dest/MyApp")));
  EXPECT_FALSE(fs::exists(At("dest/MyApp.zip")));
}

}  // namespace
}  // namespace ostrel::test
