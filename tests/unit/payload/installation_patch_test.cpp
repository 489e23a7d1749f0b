// A patch folder applied to an installation beside it: every row of what its
// items do, the names that would climb out of the installation, and the
// patch folder's removal. Sentinels lie beside the installation and outside.
#include <filesystem>

#include "payload/zip/zip_opener.h"
#include "support/snapshot.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

class InstallationPatchTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    WriteFile(At("dest/sentinel.txt"), "beside the installation");
    WriteFile(At("outside/keep.txt"), "outside");
    WriteFile(At("outside/dir/f"), "outside too");
    window->fTargetFolder = At("dest/MyAppPatch");
  }
  void Put(const std::string& relative, const std::string& content = "") { WriteFile(At("dest/" + relative), content); }
  void Folder(const std::string& relative) { fs::create_directories(At("dest/" + relative)); }
};

TEST_F(InstallationPatchTest, EachKindOfItemDoesWhatItsRowSays) {
  Put("MyApp/keep.txt", "kept");
  Put("MyApp/replace.txt", "old");
  Put("MyApp/x", "removed by x*Delete*");
  Put("MyApp/Plugins/a.so", "removed with its folder");
  Put("MyApp/Sub/Old/f", "removed by Sub/Old*Delete*");
  Put("MyApp/Sub/stay.txt", "kept");
  Put("MyApp/.config", "not acted on by *Delete*.config");
  Put("MyApp/Folder", "a file where the patch has a file in a folder of that name");
  Put(".hidden", "UserHidden\n");  // the user's own list keeps its names

  Put("MyAppPatch/replace.txt", "new");
  Put("MyAppPatch/New/Deep/file.txt", "deep");
  Put("MyAppPatch/x*Delete*", "its content is never used");
  Put("MyAppPatch/Plugins*DELETE*/child.txt", "children of a deleted folder are not walked");
  Folder("MyAppPatch/Sub/Old*Delete*");
  Folder("MyAppPatch/Empty");
  Put("MyAppPatch/*Delete*.config");
  Put("MyAppPatch/.dotfile", "dot names are passed over");
  Put("MyAppPatch/.hidden", "secret.txt\n");
  Put("MyAppPatch/secret.txt", "invisible items are passed over");
  Put("MyAppPatch/Folder/inner.txt", "a folder that replaces a file is not made");

  window->ApplyInstallationPatch();
  EXPECT_EQ(TreeOf(At("dest")), (Tree{{"sentinel.txt", "beside the installation"},
                                      {".hidden", "UserHidden\n"},
                                      {"MyApp", "<dir>"},
                                      {"MyApp/keep.txt", "kept"},
                                      {"MyApp/replace.txt", "new"},
                                      {"MyApp/New", "<dir>"},
                                      {"MyApp/New/Deep", "<dir>"},
                                      {"MyApp/New/Deep/file.txt", "deep"},
                                      {"MyApp/Sub", "<dir>"},
                                      {"MyApp/Sub/stay.txt", "kept"},
                                      {"MyApp/.config", "not acted on by *Delete*.config"},
                                      {"MyApp/Folder", "a file where the patch has a file in a folder of that name"}}));
  // One message for the file that could not go below a file.
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Patch Failed: " + At("dest/MyApp/Folder/inner.txt")});
}

TEST_F(InstallationPatchTest, NamesAndLinksThatLeadOutOfTheInstallationArePassedOver) {
  Put("MyApp/real.txt", "installed");
  fs::create_symlink(At("outside"), At("dest/MyApp/Out"));
  Folder("MyAppPatch/..*Delete*");                  // would be the installation's parent
  Put("MyAppPatch/Sub/..*Delete*");                 // would be the installation itself
  Put("MyAppPatch/*Delete*");                       // an empty name
  Put("MyAppPatch/.*Delete*");                      // the installation again
  Put("MyAppPatch/Out/keep.txt*Delete*");           // through the link, outside
  Folder("MyAppPatch/Out/dir*Delete*");
  Put("MyAppPatch/Out/planted.txt", "never written outside");
  fs::create_symlink(At("outside/keep.txt"), At("dest/MyAppPatch/stolen.txt"));
  const Tree outside = TreeOf(At("outside"));

  window->ApplyInstallationPatch();
  EXPECT_EQ(TreeOf(At("outside")), outside);
  EXPECT_EQ(TreeOf(At("dest")), (Tree{{"sentinel.txt", "beside the installation"},
                                      {"MyApp", "<dir>"},
                                      {"MyApp/real.txt", "installed"},
                                      {"MyApp/Out", "-> " + At("outside")}}));
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(InstallationPatchTest, NoPatchFolderOrOneNotNamedLikeItChangesNothing) {
  Put("MyApp/keep.txt", "kept");
  window->ApplyInstallationPatch();
  window->fTargetFolder = At("dest/MyApp");  // an installation is never walked or removed as a patch
  window->ApplyInstallationPatch();
  const std::string notFound = "Patch Not Found\n\nPatch folder not created at specified location.";
  EXPECT_EQ(ui.messages, (std::vector<std::string>{notFound, notFound}));
  EXPECT_EQ(TreeOf(At("dest")), (Tree{{"sentinel.txt", "beside the installation"},
                                      {"MyApp", "<dir>"},
                                      {"MyApp/keep.txt", "kept"}}));
}

TEST_F(InstallationPatchTest, AFolderThatCannotGoIsLeftHiddenAfterABoundedTime) {
  Put("MyApp/keep.txt", "kept");
  Put("MyAppPatch/new.txt", "new");
  platform.keptFolders.push_back(At("dest/MyAppPatch"));  // refused by the file layer
  window->ApplyInstallationPatch();
  EXPECT_EQ(ReadFile(At("dest/MyApp/new.txt")), "new");
  EXPECT_TRUE(fs::exists(At("dest/MyAppPatch/new.txt")));
  EXPECT_GE(platform.ticks, 30 * 60);
  EXPECT_LT(platform.ticks, 31 * 60);
  EXPECT_EQ(ReadFile(At("dest/.hidden")), "MyAppPatch\n");
}

TEST_F(InstallationPatchTest, AnArchiveThatDoesNotCarryThePatchFolderPatchesNothing) {
  RegisterZipOpener();
  WriteScrambledZip("Data2", {{"Elsewhere/", "", ZipEntry::Folder, 0755},
                              {"Elsewhere/tool", "version 2"},
                              {"Elsewhere/old.txt*Delete*", ""}});
  Put("MyApp/tool", "version 1");
  Put("MyApp/old.txt", "kept");
  window->fInstallationPatch = true;
  window->fTargetFolder = "MyApp";
  ui.folderAnswers.push_back(At("dest"));
  window->ExpandFolder();
  EXPECT_FALSE(ui.messages.empty());
  EXPECT_EQ(TreeOf(At("dest/MyApp")), (Tree{{"tool", "version 1"}, {"old.txt", "kept"}}));
  EXPECT_EQ(ReadFile(At("dest/sentinel.txt")), "beside the installation");
}

}  // namespace
}  // namespace ostrel::test
