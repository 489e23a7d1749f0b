// Whole trees: removal that never leaves the tree, copies of folders and
// files, and the permission change. (A read-only tree's removal is in
// no_process_test.cpp.)
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "fileutil/view_const.h"
#include "support/sandbox.h"

namespace {

using namespace ViewConst;
using ostrel::test::SandboxTest;
namespace fs = std::filesystem;

mode_t ModeOf(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0 ? (st.st_mode & 07777) : 0;
}

class FileutilTrees : public SandboxTest {
 protected:
  void MakeTree(const std::string& top) {
    WriteFile(top + "/Contents/MacOS/tool", "binary");
    WriteFile(top + "/Contents/Resources/Data", "data");
    fs::create_directories(top + "/Contents/Empty");
    WriteFile(top + "/readme", "hello");
  }
};

TEST_F(FileutilTrees, DeleteRemovesLinksButNotTheirTargets) {
  MakeTree(At("app"));
  WriteFile(At("outside/sub/deep"), "keep me");
  fs::create_directory_symlink(At("outside"), At("app/Contents/folderlink"));
  fs::create_symlink(At("outside/sub/deep"), At("app/filelink"));
  fs::create_symlink(At("nowhere"), At("app/dangling"));
  DeleteFolderOrApp(At("app"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(At("app"))));
  EXPECT_EQ(ReadFile(At("outside/sub/deep")), "keep me");

  // A link given as the path is removed as a link; its target keeps its mode.
  chmod(At("outside").c_str(), 0750);
  fs::create_directory_symlink(At("outside"), At("link"));
  DeleteFolderOrApp(At("link"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(At("link"))));
  EXPECT_EQ(ReadFile(At("outside/sub/deep")), "keep me");
  EXPECT_EQ(ModeOf(At("outside")), 0750u);

  WriteFile(At("single"), "x");
  DeleteFolderOrApp(At("single"));
  DeleteFolderOrApp("relative");
  EXPECT_FALSE(fs::exists(At("single")));
}

TEST_F(FileutilTrees, AllUsersFullAccessAddsRwxAndKeepsTheRest) {
  WriteFile(At("file"), "x");
  chmod(At("file").c_str(), 02640);
  AllUsersFullAccess(At("file"));
  EXPECT_EQ(ModeOf(At("file")), 02777u);

  fs::create_directories(At("dir/sub"));
  chmod(At("dir").c_str(), 0700);
  chmod(At("dir/sub").c_str(), 0700);
  AllUsersFullAccessOnMac(fw::FolderItem(At("dir")));
  EXPECT_EQ(ModeOf(At("dir")), 0777u);
  EXPECT_EQ(ModeOf(At("dir/sub")), 0700u);  // not recursive

  chmod(At("file").c_str(), 0600);
  fs::create_symlink(At("file"), At("link"));
  AllUsersFullAccess(At("link"));
  EXPECT_EQ(ModeOf(At("file")), 0600u);  // a link's target is left alone
}

TEST_F(FileutilTrees, CopyFolderCopiesAndMergesButNeverIntoItself) {
  MakeTree(At("src"));
  WriteFile(At("dst/readme"), "old");
  WriteFile(At("dst/extra"), "stays");
  EXPECT_TRUE(CopyFolder(At("src/"), At("dst/")));
  EXPECT_EQ(ReadFile(At("dst/Contents/MacOS/tool")), "binary");
  EXPECT_EQ(ReadFile(At("dst/readme")), "hello");
  EXPECT_EQ(ReadFile(At("dst/extra")), "stays");
  EXPECT_TRUE(fs::is_directory(At("dst/Contents/Empty")));
  EXPECT_FALSE(CopyFolder(At("src"), "relative"));

  WriteFile(At("loop/file"), "x");
  fs::create_directory_symlink(At("loop"), At("loop/again"));
  EXPECT_TRUE(CopyFolder(At("loop"), At("copy")));
  EXPECT_EQ(ReadFile(At("copy/file")), "x");
  EXPECT_FALSE(fs::exists(At("copy/loop")));

  WriteFile(At("a/file"), "x");
  EXPECT_TRUE(CopyFolder(At("a"), At("a/b")));
  EXPECT_EQ(ReadFile(At("a/b/file")), "x");
  EXPECT_FALSE(fs::exists(At("a/b/b")));
}

TEST_F(FileutilTrees, CopyFileCopiesFilesAndFoldersButOnlyCopyFileBReplacesAFullFolder) {
  WriteFile(At("a.txt"), "new");
  WriteFile(At("b.txt"), "old and longer");
  EXPECT_TRUE(CopyFile(At("a.txt"), At("b.txt")));
  EXPECT_EQ(ReadFile(At("b.txt")), "new");
  MakeTree(At("src"));
  EXPECT_TRUE(CopyFileB(At("src"), At("out")));
  EXPECT_EQ(ReadFile(At("out/Contents/Resources/Data")), "data");
  EXPECT_FALSE(CopyFile(At("missing"), At("d.txt")));
  EXPECT_FALSE(fs::exists(At("d.txt")));

  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(CopyFile(At("pipe"), At("copy")));  // refused, not waited on

  WriteFile(At("payload"), "file content");
  WriteFile(At("dest/one"), "1");
  WriteFile(At("dest/sub/two"), "2");
  EXPECT_FALSE(CopyFile(At("payload"), At("dest")));
  EXPECT_EQ(ReadFile(At("dest/sub/two")), "2");
  EXPECT_TRUE(CopyFileB(At("payload"), At("dest")));
  EXPECT_EQ(ReadFile(At("dest")), "file content");
}

}  // namespace
