// Single items by path: existence, delete, rename, folder chains with their
// messages, visibility and the tick wait.
#include <gtest/gtest.h>

#include <filesystem>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/folder_item.h"
#include "framework/runtime.h"
#include "support/sandbox.h"

namespace {

using namespace ViewConst;
using fw::testing::ScriptedUI;
using ostrel::test::SandboxTest;
namespace fs = std::filesystem;

class FileutilItems : public SandboxTest {};

TEST_F(FileutilItems, ExistenceAndDelete) {
  WriteFile(At("a/file"), "x");
  EXPECT_TRUE(DirectoryExists(At("a")));
  EXPECT_TRUE(DirectoryExists(At("a/")));
  EXPECT_FALSE(DirectoryExists(At("a/file")));
  EXPECT_FALSE(DirectoryExists("a"));
  EXPECT_TRUE(FileExists(At("a")));
  EXPECT_FALSE(FileExists(""));

  WriteFile(At("full/inner"), "x");
  fs::create_directories(At("empty"));
  fs::create_symlink(At("a/file"), At("link"));
  for (auto p : {"a/file", "empty", "full", "link", "never"}) DeleteFile(At(p));
  EXPECT_FALSE(fs::exists(At("empty")));
  EXPECT_TRUE(fs::exists(At("full/inner")));  // a folder with items stays
  EXPECT_FALSE(fs::exists(fs::symlink_status(At("link"))));
  EXPECT_FALSE(fs::exists(At("a/file")));
}

TEST_F(FileutilItems, RenameReplacesTheNewPathButRefusesACaseChangeAndAMissingSource) {
  WriteFile(At("old"), "new content");
  WriteFile(At("new"), "old content");
  EXPECT_TRUE(RenameFile(At("old"), At("new")));
  EXPECT_FALSE(fs::exists(At("old")));
  EXPECT_EQ(ReadFile(At("new")), "new content");

  WriteFile(At("X"), "upper");
  EXPECT_FALSE(RenameFile(At("X"), At("x")));
  EXPECT_EQ(ReadFile(At("X")), "upper");
  EXPECT_FALSE(fs::exists(At("x")));

  WriteFile(At("kept"), "stays");
  EXPECT_FALSE(RenameFile(At("missing"), At("kept")));
  EXPECT_EQ(ReadFile(At("kept")), "stays");
  EXPECT_FALSE(RenameFile(At("X"), "relative"));
  EXPECT_EQ(ReadFile(At("X")), "upper");
}

TEST_F(FileutilItems, ForceDirectoriesBuildsEveryLevelQuietlyAndReportsEachThatFails) {
  ForceDirectories(At("one/two/three/"), true);
  EXPECT_TRUE(fs::is_directory(At("one/two/three")));
  ForceDirectories(At("one/two/"), true);
  ForceDirectories("", true);
  EXPECT_TRUE(ui.modals.empty());
  EXPECT_THROW(ForceDirectories("relative/dir", false), fw::NilObjectException);

  WriteFile(At("a/f"), "in the way");
  ui.answers = {ScriptedUI::PressCaption("OK"), ScriptedUI::PressCaption("OK")};
  ForceDirectories(At("a/f/g"), true);

  ASSERT_EQ(ui.modals.size(), 2u);
  EXPECT_EQ(ui.modals[0].title, "Error Message");
  EXPECT_EQ(ui.modals[0].Get("MessageText").caption,
            "FILE ALREADY EXISTS.\n\nA file already exists at this path: " + At("a/f"));
  EXPECT_EQ(ui.modals[1].Get("MessageText").caption, "VOLUME NOT FOUND.\n\nThis volume does not exist: " + At("a/f/g"));
  EXPECT_EQ(ReadFile(At("a/f")), "in the way");

  GlobalsKv::gConflictType = 36;
  ForceDirectories(At("a/f/g/h"), false);
  EXPECT_EQ(ui.modals.size(), 2u);
  EXPECT_EQ(GlobalsKv::gConflictType, 0);
}

TEST_F(FileutilItems, SleepWaitsInTicks) {
  const int64_t start = platform.ticks;
  Sleep(2);
  EXPECT_GE(platform.ticks - start, 120);
  EXPECT_LT(platform.ticks - start, 130);
  const int64_t calls = platform.doEventsCalls;
  Sleep(0);
  EXPECT_EQ(platform.doEventsCalls, calls);
}

TEST_F(FileutilItems, SetInvisibleHidesFromFileBrowsers) {
  fs::create_directories(At("work/Patch"));
  fs::create_directories(At("work/Other"));
  SetInvisible(At("work/Patch"));
  SetInvisible(At("work/none"));
  EXPECT_FALSE(fw::FolderItem(At("work/Patch")).Visible());
  EXPECT_EQ(ReadFile(At("work/.hidden")), "Patch\n");

  // A relative path is taken from the current folder.
  const fs::path before = fs::current_path();
  fs::current_path(At("work"));
  SetInvisible("Other");
  fs::current_path(before);
  EXPECT_FALSE(fw::FolderItem(At("work/Other")).Visible());
}

}  // namespace
