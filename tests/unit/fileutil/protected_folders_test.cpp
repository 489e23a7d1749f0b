// The folders a careless path must never cost the user: the home folder and
// everything above it, the standard folders, the applications folder, the
// root and mount points. Whatever form the path takes, the removal is
// refused and every file stays; things inside those folders still go.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>

#include "fileutil/view_const.h"
#include "framework/posix/posix_platform.h"
#include "framework/protected_folders.h"
#include "support/sandbox.h"
#include "support/small_volumes.h"

namespace {

using namespace ViewConst;
using ostrel::test::SandboxTest;
namespace fs = std::filesystem;

class ProtectedFolders : public ostrel::test::WithSmallVolumes<SandboxTest> {
 protected:
  void SetUp() override {
    WithSmallVolumes<SandboxTest>::SetUp();
    WriteFile(At("home/own.txt"), "mine");
    WriteFile(At("home/Desktop/note.txt"), "desk");
    WriteFile(At("home/Applications/Old/app.bin"), "old");
    WriteFile(At("home/Docs/report.txt"), "report");
    fs::create_directories(At("home/Music"));
    platform.keptFolders = {At("home/Docs"), At("home/Music")};
  }
  // Every file the user had is still there.
  void ExpectAllThere() {
    EXPECT_EQ(ReadFile(At("home/own.txt")), "mine");
    EXPECT_EQ(ReadFile(At("home/Desktop/note.txt")), "desk");
    EXPECT_EQ(ReadFile(At("home/Docs/report.txt")), "report");
    EXPECT_TRUE(fs::is_directory(At("home/Music")));
  }
};

TEST_F(ProtectedFolders, NoFormOfAKeptPathIsRemoved) {
  // Only paths inside the sandbox are handed to the deletes: a fault here
  // must not reach past it.
  for (const std::string& path :
       {At("home"), At("home/"), At("home//"), At("home/."), At("home/Desktop/.."), At("home/Docs"),
        At("home/Docs/"), At("home/./Docs"), At("home/Music"), At("home/Desktop"), At("home/Applications"),
        At(""), At("home/Docs/..")}) {
    SCOPED_TRACE(path);
    EXPECT_TRUE(fw::IsProtectedFromRemoval(path));
    DeleteFolderOrApp(path);
    DeleteFile(path);
    ExpectAllThere();
  }
  EXPECT_TRUE(fs::is_directory(At("home/Applications/Old")));
  for (const std::string& path : {std::string("/"), std::string("//"), root.parent_path().string()})
    EXPECT_TRUE(fw::IsProtectedFromRemoval(path)) << path;
}

TEST_F(ProtectedFolders, WhatLiesInsideStillGoes) {
  // So does a sibling whose name only begins like a kept folder's.
  WriteFile(At("home/Mus/song.txt"), "la");
  DeleteFolderOrApp(At("home/Mus"));
  EXPECT_FALSE(fs::exists(At("home/Mus")));
  EXPECT_FALSE(fw::IsProtectedFromRemoval(At("home/Applications/Old")));
  DeleteFolderOrApp(At("home/Applications/Old"));
  DeleteFile(At("home/Desktop/note.txt"));
  DeleteFolderOrApp(At("home/Docs/report.txt"));
  EXPECT_FALSE(fs::exists(At("home/Applications/Old")));
  EXPECT_FALSE(fs::exists(At("home/Desktop/note.txt")));
  EXPECT_FALSE(fs::exists(At("home/Docs/report.txt")));
  EXPECT_TRUE(fs::is_directory(At("home/Docs")));
  EXPECT_TRUE(fs::is_directory(At("home/Applications")));
}

TEST_F(ProtectedFolders, ALinkToAKeptFolderGoesAsALinkOnly) {
  fs::create_directory_symlink(At("home"), At("tmp/home-link"));
  fs::create_directory_symlink(At("home/Docs"), At("home/Applications/docs-link"));
  EXPECT_FALSE(fw::IsProtectedFromRemoval(At("tmp/home-link")));
  DeleteFolderOrApp(At("tmp/home-link"));
  DeleteFolderOrApp(At("home/Applications/docs-link"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(At("tmp/home-link"))));
  EXPECT_FALSE(fs::exists(fs::symlink_status(At("home/Applications/docs-link"))));
  ExpectAllThere();
  // Through a link in a folder above, or followed by "." or "..", the path
  // still names the kept folder.
  fs::create_directory_symlink(At("home"), At("tmp/via"));
  fs::create_directory_symlink("/", At("tmp/root-link"));
  EXPECT_TRUE(fw::IsProtectedFromRemoval(At("tmp/root-link/.")));
  EXPECT_TRUE(fw::IsProtectedFromRemoval(At("tmp/root-link/")  + root.relative_path().string()));
  for (const std::string& path : {At("tmp/via/Docs"), At("tmp/via/."), At("tmp/via/Docs/.."), At("tmp/via/Music/")}) {
    SCOPED_TRACE(path);
    EXPECT_TRUE(fw::IsProtectedFromRemoval(path));
    DeleteFolderOrApp(path);
    ExpectAllThere();
  }
}

TEST_F(ProtectedFolders, RenamesNeitherReplaceNorCarryOffAKeptFolder) {
  fs::create_directories(At("tmp/staging/inner"));
  EXPECT_TRUE(RenameFile(At("tmp/staging"), At("home/Music")));  // answers as a rename does
  EXPECT_TRUE(fs::is_directory(At("tmp/staging/inner")));
  EXPECT_TRUE(fs::is_empty(At("home/Music")));
  RenameFile(At("home/Docs"), At("tmp/elsewhere"));
  ExpectAllThere();
  EXPECT_FALSE(fs::exists(At("tmp/elsewhere")));
}

TEST_F(ProtectedFolders, AMountPointStandsAndSoDoesWhatIsMountedInsideATree) {
  if (!Mounted(At("tmp/volume"), 1024)) return;
  WriteFile(At("tmp/volume/data"), "on the volume");
  EXPECT_TRUE(fw::IsProtectedFromRemoval(At("tmp/volume")));
  DeleteFolderOrApp(At("tmp/volume"));
  EXPECT_EQ(ReadFile(At("tmp/volume/data")), "on the volume");

  // A tree that holds a mount: its own files go, the mounted volume's stay.
  WriteFile(At("tree/own"), "x");
  if (!Mounted(At("tree/mounted"), 1024)) return;
  WriteFile(At("tree/mounted/data"), "mounted");
  DeleteFolderOrApp(At("tree"));
  EXPECT_FALSE(fs::exists(At("tree/own")));
  EXPECT_EQ(ReadFile(At("tree/mounted/data")), "mounted");
  // The folder that had to stay is not left open to everyone.
  EXPECT_EQ(fs::status(At("tree")).permissions() & (fs::perms::group_write | fs::perms::others_write),
            fs::perms::none);
}

// The real platform reads the standard folders from the user-dirs file, and
// keeps the usual names as well.
using PosixKeptFolders = SandboxTest;

TEST_F(PosixKeptFolders, StandardFoldersComeFromTheUserDirsFile) {
  const std::string home = "/nonexistent-home-for-test";
  const char* oldHome = getenv("HOME");
  const char* oldConfig = getenv("XDG_CONFIG_HOME");
  const std::string savedHome = oldHome ? oldHome : "", savedConfig = oldConfig ? oldConfig : "";
  WriteFile(At("config/user-dirs.dirs"), "# written by a test\n"
                                         "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n"
                                         "XDG_DOWNLOAD_DIR=\"/srv/incoming\"\n");
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_CONFIG_HOME", At("config").c_str(), 1);
  const std::vector<std::string> kept = fw::PosixPlatform().KeptFolders();
  oldHome ? setenv("HOME", savedHome.c_str(), 1) : unsetenv("HOME");
  oldConfig ? setenv("XDG_CONFIG_HOME", savedConfig.c_str(), 1) : unsetenv("XDG_CONFIG_HOME");

  for (const std::string& expected :
       {home, home + "/Applications", home + "/Papers", home + "/Documents", std::string("/srv/incoming"),
        home + "/Downloads", home + "/Desktop", home + "/Templates", home + "/Public"})
    EXPECT_NE(std::find(kept.begin(), kept.end(), expected), kept.end()) << expected;
}

}  // namespace
