// A volume that runs out of room: every operation that writes says so, and
// what it was working from stays as it was. The volumes are tmpfs mounts of
// a few hundred KiB inside the sandbox.
#include <filesystem>
#include <set>

#include "bundler/bundle.h"
#include "fileutil/view_const.h"
#include "framework/file_copy.h"
#include "framework/own_files.h"
#include "payload/archives.h"
#include "payload/zip/zip_opener.h"
#include "unit/bundler/bundler_fixture.h"
#include "unit/faults/faults_fixture.h"
#include "unit/hardening/hardening_fixture.h"

namespace ostrel::test {
namespace {

const std::string kNoSpace = std::strerror(ENOSPC);

bool Mentions(const std::string& text, const std::string& what) { return text.find(what) != std::string::npos; }

// Names below `folder` of the temporary copies the writers make beside a file.
std::vector<std::string> PartFiles(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(folder, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec))
    if (fw::IsOwnName(it->path().filename().string())) found.push_back(it->path().string());
  return found;
}

using FaultFullVolumeTest = WithSmallVolumes<SandboxTest>;

TEST_F(FaultFullVolumeTest, UnscramblingWithoutRoomForTheNewCopyKeepsTheFileAndSaysWhy) {
  if (!Mounted(At("vol"), 1024)) return;
  const std::string bytes = RandomBytes(640 << 10, 1);
  WriteFile(At("vol/Payload.zip"), bytes);
  ASSERT_TRUE(ReadFile(At("vol/Payload.zip")) == bytes);  // the first copy fits

  ViewConst::EncryptDecryptFileEnd(At("vol/Payload.zip"), false);
  EXPECT_TRUE(ReadFile(At("vol/Payload.zip")) == bytes);
  EXPECT_TRUE(PartFiles(At("vol")).empty());
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_TRUE(Mentions(ui.messages[0], "Payload.zip could not be unscrambled")) << ui.messages[0];
  EXPECT_TRUE(Mentions(ui.messages[0], kNoSpace)) << ui.messages[0];
}

TEST_F(FaultFullVolumeTest, CopiesOntoAFullVolumeFailAndLeaveTheSourceAsItWas) {
  for (int i = 0; i < 12; ++i)
    WriteFile(At("src/part" + std::to_string(i % 3) + "/file" + std::to_string(i)), RandomBytes(200 << 10, i));
  WriteFile(At("big"), RandomBytes(2 << 20, 99));
  const Snapshot source = TakeSnapshot(At("src"));
  if (!Mounted(At("vol"), 1024)) return;

  EXPECT_FALSE(ViewConst::CopyFolder(At("src"), At("vol/folder")));
  EXPECT_FALSE(ViewConst::CopyFile(At("src"), At("vol/tree")));
  EXPECT_FALSE(ViewConst::CopyFile(At("big"), At("vol/big")));
  EXPECT_FALSE(fs::exists(At("vol/big")));
  const std::string changed = SnapshotDiff(source, TakeSnapshot(At("src")));
  EXPECT_TRUE(changed.empty()) << changed;
  EXPECT_EQ(PartFiles(At("vol")), std::vector<std::string>{});
  // What did arrive arrived whole.
  for (const std::string copy : {"vol/folder", "vol/tree"}) {
    for (const auto& [rel, what] : TakeSnapshot(At(copy))) {
      if (what.rfind("file", 0) != 0) continue;
      EXPECT_EQ(what, source.at(rel)) << copy << "/" << rel;
    }
  }
}

class FaultFullDestinationTest : public WithSmallVolumes<HardeningTest> {};

TEST_F(FaultFullDestinationTest, AnArchiveLargerThanTheRoomFailsClearlyByEveryRoad) {
  if (!Mounted(Dest(), 2048)) return;
  const std::string zeros(1 << 20, '\0');
  std::vector<RawEntry> many;  // little content, but a page of room each
  for (int i = 0; i < 700; ++i) many.push_back(Packed("App/f" + std::to_string(i), "x"));
  const struct {
    const char* what;
    std::vector<RawEntry> entries;
  } archives[] = {
      {"more content than room", {Packed("App/a", zeros), Packed("App/b", zeros), Packed("App/c", zeros)}},
      {"more files than room", many},
      // A link sends the archive the general way.
      {"the general expander", {Link("App/link", "a"), Packed("App/a", zeros), Packed("App/b", zeros),
                                Packed("App/c", zeros)}},
  };
  for (const auto& archive : archives) {
    for (Route route : {Route::ZipFileToFolder, Route::Opener}) {
      SCOPED_TRACE(std::string(archive.what) + " by " + RouteName(route));
      const Outcome r = Expand(BuildRawZip(archive.entries), route);
      EXPECT_FALSE(r.ok);
      EXPECT_TRUE(r.archiveUnchanged);
      if (route == Route::Opener) {
        EXPECT_TRUE(Mentions(r.message, kNoSpace) || Mentions(r.message, "free")) << r.message;
      }
      EXPECT_TRUE(OutsideUnchanged(archive.what));
      EXPECT_TRUE(DestHoldsOnlySafeItems());
      ClearDest();
    }
  }
}

class FaultFullTargetTest : public WithSmallVolumes<BundlerTest> {
 protected:
  void SetUp() override {
    WithSmallVolumes<BundlerTest>::SetUp();
    WriteFile(At("payload/random.bin"), RandomBytes(300 << 10, 5));
    WriteFile(At("payload/zeros.bin"), std::string(2 << 20, '\0'));
    bundler::SetupDescription d;
    d.bundleName = "Setup";
    d.targetFolder = "DemoApp";
    d.payloadFolder = At("payload");
    bundle = bundler::BuildBundle(d, stub, At("out"));
    WriteFile(bundle + "/Contents/Resources/after.sh", "#!/bin/sh\n");
    platform.executablePath = bundle + "/Contents/MacOS/Setup";
    RegisterZipOpener();
  }
  std::string bundle;
};

TEST_F(FaultFullTargetTest, APayloadTooLargeForTheVolumeKeepsTheEarlierInstallationAndEndsTheRun) {
  const std::string data2 = ReadFile(bundle + "/Contents/Resources/Data2");
  ASSERT_GT(data2.size(), 300u << 10);
  // The working archive does not fit; then it does, but its content does not.
  for (size_t kib : {192, 1024}) {
    SCOPED_TRACE(kib);
    const std::string volume = At("vol" + std::to_string(kib));
    if (!Mounted(volume, kib)) return;
    WriteFile(volume + "/DemoApp/old.txt", "the earlier installation");
    WriteFile(volume + "/mine.txt", "the user's own file");
    ui.messages.clear();
    platform.launches.clear();
    auto window = ReadyToInstall();
    window->fExecuteAfterName = "after.sh";
    ui.folderAnswers.push_back(volume);
    window->ExpandFolder();

    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_TRUE(Mentions(ui.messages[0], kNoSpace) || Mentions(ui.messages[0], "free")) << ui.messages[0];
    EXPECT_TRUE(Mentions(ui.messages[0], "The previous installation was kept.")) << ui.messages[0];
    EXPECT_TRUE(window->fInstallationFailed);
    // The run ended there: nothing but what was there before is left.
    EXPECT_TRUE(platform.launches.empty());
    std::set<std::string> left;
    for (const auto& e : fs::directory_iterator(volume)) left.insert(e.path().filename().string());
    EXPECT_EQ(left, (std::set<std::string>{"DemoApp", "mine.txt"}));
    EXPECT_EQ(ReadFile(volume + "/DemoApp/old.txt"), "the earlier installation");
    EXPECT_TRUE(ReadFile(bundle + "/Contents/Resources/Data2") == data2);
  }
}

}  // namespace
}  // namespace ostrel::test
