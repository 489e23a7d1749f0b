// A split setup that leaves its disc: the numbered copy in the temporary
// folder, the clipboard and the marker, the copy that installs with the
// marker's answers, the first process that does nothing more, and the
// markers that must not let a copy through. The copy's joining and
// installing run through the real binary in the GUI tests.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "support/snapshot.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

const char* const kDragMessage = "Drag the installer out of the Downloads folder before running it.";

class RelocationTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    SetupRecord r = PlainRecord();
    r.text[7] = "MyApp";
    WriteRecord(r);
    WriteFile(Resources() + "/Data#1", "the first piece");
  }

  // Relocates the setup as its Install button would, and answers the copy's folder.
  std::string Relocate() {
    auto folders = [&] {
      std::set<std::string> names;
      for (auto& e : fs::directory_iterator(At("tmp"))) names.insert(e.path().string());
      return names;
    };
    const auto before = folders();
    platform.executablePath = At("Setup.app/Contents/MacOS/Setup");
    EXPECT_TRUE(window->RelocateInstaller(Resources() + "/Data#1"));
    std::vector<std::string> made;
    for (const auto& f : folders())
      if (!before.count(f)) made.push_back(f);
    EXPECT_EQ(made.size(), 1u);
    return made.empty() ? std::string() : made[0];
  }
  // Starts the copy in `folder` as a new process would.
  std::optional<int> OpenCopy(const std::string& folder) {
    window = std::make_unique<OstrelStubWindow>();
    platform.executablePath = folder + "/Setup.app/Contents/MacOS/Setup";
    return Open();
  }
};

TEST_F(RelocationTest, ASetupWithoutAFirstPieceStaysWhereItIs) {
  fs::remove(Resources() + "/Data#1");
  EXPECT_FALSE(window->RelocateInstaller(Resources() + "/Data#1"));
  EXPECT_EQ(platform.ClipboardText(), "");
  EXPECT_TRUE(fs::is_empty(At("tmp")));
  EXPECT_TRUE(platform.launches.empty());
}

TEST_F(RelocationTest, TheCopyLiesInANumberedFolderWithItsMarkerAndInstallsWithTheGivenAnswers) {
  window->fChoiceAnswer = "Full";
  window->fOptionsAnswer = "Docs,Samples";
  const std::string folder = Relocate();
  EXPECT_EQ(platform.ClipboardText(), root.string() + "/");
  const std::string name = fs::path(folder).filename().string();
  EXPECT_TRUE(name.size() == 4 && name.find_first_not_of("0123456789") == std::string::npos) << name;
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  EXPECT_EQ(TreeOf(folder + "/Setup.app"), TreeOf(At("Setup.app")));
  ASSERT_EQ(platform.launches.size(), 1u);
  EXPECT_EQ(platform.launches[0].path, folder + "/Setup.app/Contents/MacOS/Setup");
  struct stat st;
  ASSERT_EQ(stat((folder + "/.ostrel-relocation").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);
  EXPECT_EQ(st.st_uid, getuid());

  // The clipboard may be gone by the time the copy runs: the marker carries all.
  platform.SetClipboardText("");
  ui.folderAnswers.push_back(std::nullopt);
  EXPECT_EQ(OpenCopy(folder), 0);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(ui.folderDialogs.size(), 1u);  // straight to the installation
  EXPECT_FALSE(window->Visible());
  EXPECT_EQ(window->fSourceFolder, root.string() + "/");
  EXPECT_EQ(window->fChoiceAnswer, "Full");
  EXPECT_EQ(window->fOptionsAnswer, "Docs,Samples");
  EXPECT_EQ(window->fTargetFolder, "");

  // It serves once: the same copy started again is told to be dragged out.
  EXPECT_EQ(OpenCopy(folder), 0);
  EXPECT_EQ(ui.messages, std::vector<std::string>{kDragMessage});
}

TEST_F(RelocationTest, AForgedMarkerDoesNotLetACopyThrough) {
  std::vector<std::pair<std::string, std::function<std::string(const std::string&)>>> forgeries = {
      {"open to others", [](const std::string& f) { chmod((f + "/.ostrel-relocation").c_str(), 0644); return f; }},
      {"a link", [&](const std::string& f) {
         fs::copy_file(f + "/.ostrel-relocation", At("elsewhere"));
         fs::remove(f + "/.ostrel-relocation");
         fs::create_symlink(At("elsewhere"), f + "/.ostrel-relocation");
         return f;
       }},
      {"another folder's", [&](const std::string& f) {
         const std::string other = Relocate();
         fs::remove(other + "/.ostrel-relocation");
         fs::copy_file(f + "/.ostrel-relocation", other + "/.ostrel-relocation");
         return other;
       }},
      {"not in a numbered folder", [&](const std::string& f) {
         fs::rename(f, At("tmp/dl"));
         return At("tmp/dl");
       }},
  };
  if (getuid() == 0)
    forgeries.push_back({"another user's", [](const std::string& f) {
                           EXPECT_EQ(chown((f + "/.ostrel-relocation").c_str(), 65534, 65534), 0);
                           return f;
                         }});
  for (auto& [what, forge] : forgeries) {
    SCOPED_TRACE(what);
    fs::remove_all(At("tmp"));
    fs::create_directories(At("tmp"));
    fs::remove(At("elsewhere"));
    const std::string folder = forge(Relocate());
    ui.messages.clear();
    EXPECT_EQ(OpenCopy(folder), 0);
    EXPECT_EQ(ui.messages, std::vector<std::string>{kDragMessage});
    EXPECT_EQ(window->fTimeStamp, "");  // quit before the record is read
    EXPECT_EQ(platform.broughtToFront, 0);
    EXPECT_FALSE(window->fRelocatedCopy);
    EXPECT_TRUE(ui.folderDialogs.empty());
  }
}

TEST_F(RelocationTest, TheProcessThatHandedOverDoesNothingMore) {
  ASSERT_EQ(Open(), std::nullopt);
  EXPECT_EQ(Run([&] { window->InstallBtn_Action(); }), 0);
  EXPECT_TRUE(ui.folderDialogs.empty());
  EXPECT_TRUE(ui.modals.empty());
  ASSERT_EQ(platform.launches.size(), 1u);
  EXPECT_FALSE(window->ProgressBar1.Visible());
  EXPECT_TRUE(fs::is_empty(At("home/Applications")));
}

}  // namespace
}  // namespace ostrel::test
