// Path strings at their edges, absolute paths of real items, the
// application's place and the trace file.
#include <gtest/gtest.h>

#include <filesystem>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "support/sandbox.h"

namespace {

using namespace ViewConst;
using ostrel::test::SandboxTest;

TEST(FileutilPaths, SplitAtTheLastSeparator) {
  EXPECT_EQ(ExtractFilePath("/a/b/file.txt"), "/a/b/");
  EXPECT_EQ(ExtractFilePath("/a/b/"), "/a/b/");
  EXPECT_EQ(ExtractFilePath("file.txt"), "");
  EXPECT_EQ(ExtractFileName("/a/b/file.txt"), "file.txt");
  EXPECT_EQ(ExtractFileName("file.txt"), "file.txt");
  EXPECT_EQ(ExtractFileName("/a/b/"), "");

  std::string p = "/a//";
  DropTrailingPathSeparator(p);
  EXPECT_EQ(p, "/a/");
  p = "/";
  DropTrailingPathSeparator(p);
  EXPECT_EQ(p, "");
  DropTrailingPathSeparator(p);
  EXPECT_EQ(p, "");
}

TEST(FileutilPaths, MyExtractFilePathStepsOutOfABundleOnce) {
  EXPECT_EQ(MyExtractFilePath("/x/y/file"), "/x/y");
  EXPECT_EQ(MyExtractFilePath("/x/y/My.app/file"), "/x/y");
  EXPECT_EQ(MyExtractFilePath("/x/y/My.APP/"), "/x/y");
  EXPECT_EQ(MyExtractFilePath("/Applications/Tool.app/Contents"), "/Applications");
  EXPECT_EQ(MyExtractFilePath("/x/Outer.app/Inner.app/file"), "/x/Outer.app");
  EXPECT_EQ(MyExtractFilePath("/x/y.apps/file"), "/x/y.apps");
  EXPECT_EQ(MyExtractFilePath("file"), "");
}

TEST(FileutilPaths, TheExtensionStopsAtTheFolder) {
  EXPECT_EQ(ExtractFileExt("a.tar.gz"), ".gz");
  EXPECT_EQ(ExtractFileExt(".hidden"), ".hidden");
  EXPECT_EQ(ExtractFileExt("a."), ".");
  EXPECT_EQ(ExtractFileExt("/folder.d/name"), "");
  EXPECT_EQ(ExtractFileExt("noext"), "");
  EXPECT_EQ(ChangeFileExt("/a/setup.zip", ".tmp"), "/a/setup.tmp");
  EXPECT_EQ(ChangeFileExt("/a.b/c", ".zip"), "/a.b/c.zip");
  EXPECT_EQ(ChangeFileExt("/a/file.txt", ""), "/a/file");
}

TEST(FileutilPaths, DirectoryPathExtractWalksDownward) {
  EXPECT_EQ(DirectoryPathExtract("/a/b/c", 1), "");
  EXPECT_EQ(DirectoryPathExtract("/a/b/c", 2), "/a");
  EXPECT_EQ(DirectoryPathExtract("/a/b/c", 3), "/a/b");
  EXPECT_EQ(DirectoryPathExtract("/a/b/c", 4), "/a/b/c");
  EXPECT_EQ(DirectoryPathExtract("/a/b/c", 5), "");
  EXPECT_EQ(DirectoryPathExtract("/a/b/c", 0), "");
  EXPECT_EQ(DirectoryPathExtract("/a/b/", 4), "/a/b/");
}

class FileutilPathsOnDisc : public SandboxTest {};

TEST_F(FileutilPathsOnDisc, OnlyAnAbsolutePathResolves) {
  EXPECT_FALSE(GlobalsKv::MyGetFolderItem("").has_value());
  EXPECT_FALSE(GlobalsKv::MyGetFolderItem("relative/path").has_value());
  const auto missing = GlobalsKv::MyGetFolderItem(At("nothing here"));
  ASSERT_TRUE(missing.has_value());
  EXPECT_FALSE(missing->Exists());
  WriteFile(At("it's here"), "x");  // taken literally, quote and blank included
  EXPECT_TRUE(GlobalsKv::MyGetFolderItem(At("it's here"))->Exists());
}

TEST_F(FileutilPathsOnDisc, MyAbsolutePathMarksFoldersOnly) {
  WriteFile(At("dir/file"), "x");
  EXPECT_EQ(MyAbsolutePath(GlobalsKv::MyGetFolderItem(At("dir/"))), At("dir") + "/");
  EXPECT_EQ(MyAbsolutePath(GlobalsKv::MyGetFolderItem(At("dir/file"))), At("dir/file"));
  EXPECT_EQ(MyAbsolutePath(GlobalsKv::MyGetFolderItem(At("dir/missing"))), At("dir/missing"));
  EXPECT_EQ(MyAbsolutePath(GlobalsKv::MyGetFolderItem("/")), "/");
  EXPECT_EQ(MyAbsolutePath(std::optional<fw::FolderItem>()), "");
}

TEST_F(FileutilPathsOnDisc, ApplicationPathIsTheBundlesFolder) {
  const std::pair<std::string, std::string> cases[] = {
      {"/Applications/Setup.app/Contents/MacOS/Setup", "/Applications/"},
      {"/Contents/Setup.app/Contents/MacOS/Setup", "/Contents/"},  // the last hit counts
      {"/u/Contents/Sub/Setup.app/Contents/MacOS/Setup", "/u/Contents/Sub/"},
      {"/Volumes/Disc/Setup.app/contents/MacOS/Setup", "/Volumes/Disc/"},
      {"/var/AppTranslocation/X/Setup.app/Contents/MacOS/Setup", "/var/AppTranslocation/X/"},
      {"/opt/ostrel/bin/ostrel-stub", "/opt/ostrel/bin/"},  // outside a bundle
  };
  for (const auto& [exe, expected] : cases) {
    platform.executablePath = exe;
    EXPECT_EQ(GetApplicationPath(), expected) << exe;
  }
  EXPECT_EQ(GetApplicationFolder().NativePath(), At("home/Applications"));
}

TEST_F(FileutilPathsOnDisc, TheTraceWritesOnlyWhenSwitchedOn) {
  const std::string log = At("home/Desktop/sorrelkinrt.log");
  DirectoryPathExtract("/a/b", 2);
  EXPECT_FALSE(std::filesystem::exists(log));
  gDebugConsole = true;
  DebugConsole("FD0");
  DirectoryPathExtract("/a/b", 2);
  gDebugConsole = false;
  DebugConsole("FD1");
  EXPECT_EQ(ReadFile(log), "FD0\nDPE0\nDPE1\nDPE2\nDPE2\nDPE3\n");
}

}  // namespace
