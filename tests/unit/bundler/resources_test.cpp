// What the builder adds for the scripted actions: the setup's own files in
// Resources, the clean-up program as Data3, and an action list that can work.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "bundler/bundle.h"
#include "bundler/description_file.h"
#include "payload/archives.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

using bundler::BadInput;
using bundler::BuildBundle;
using ResourcesTest = BundlerTest;

TEST_F(ResourcesTest, ResourcesAndTheCleanupProgramTravelInTheBundle) {
  auto d = FullDescription();
  WriteFile(At("resources/before.sh"), "#!/bin/sh\necho before\n");
  chmod(At("resources/before.sh").c_str(), 0750);
  d.resources.push_back(At("resources/before.sh"));
  d.executeBefore = "before.sh";
  const std::string resources = BuildBundle(d, stub, At("out")) + "/Contents/Resources";

  EXPECT_EQ(ReadFile(resources + "/before.sh"), "#!/bin/sh\necho before\n");
  EXPECT_EQ(fs::status(resources + "/before.sh").permissions(), fs::perms(0750));
  EXPECT_EQ(ReadFile(resources + "/After.app/Contents/MacOS/After"), "#!/bin/sh\n");

  // Data3 unscrambles to the archive that expands into the clean-up bundle.
  fs::copy_file(resources + "/Data3", At("cleanup.zip"));
  ViewConst::EncryptDecryptFileEnd(At("cleanup.zip"), false);
  ASSERT_TRUE(ViewConst::ZipFileToFolder(At("cleanup.zip"), At("PostInstallCleanup.app"), false));
  const std::string program = At("PostInstallCleanup.app/Contents/MacOS/PostInstallCleanup");
  EXPECT_EQ(TreeOf(At("PostInstallCleanup.app")).size(), 3u);
  EXPECT_EQ(ReadFile(program), ReadFile(At("build/ostrel-cleanup")));
  EXPECT_EQ(fs::status(program).permissions(), fs::perms(0755));

  d.cleanup = 0;
  EXPECT_FALSE(fs::exists(BuildBundle(d, stub, At("out")) + "/Contents/Resources/Data3"));
}

TEST_F(ResourcesTest, WhatCannotWorkIsRefusedBeforeAnythingIsWritten) {
  WriteFile(At("resources/Data2"), "x");
  WriteFile(At("resources/twice/After.app"), "x");
  const std::pair<std::function<void(bundler::SetupDescription&)>, std::string> cases[] = {
      {[&](auto& d) { d.resources.push_back(At("resources/Data2")); }, "the bundle's own Data2"},
      {[&](auto& d) { d.resources.push_back(At("resources/missing")); }, "no resource file or folder"},
      {[&](auto& d) { d.resources.push_back(At("resources/twice/After.app")); }, "two resources are named After.app"},
      {[&](auto& d) { d.executeBefore = "Check"; }, "execute_before names \"Check\""},
      {[&](auto& d) { d.cleanupProgram = At("nowhere"); }, "needs the clean-up program"},
      {[&](auto& d) { d.postInstallActions = "delete=a|"; }, "stray \"|\""},
      {[&](auto& d) { d.postInstallActions = "shell=FOO=1 tool"; }, "second \"=\""},
      {[&](auto& d) { d.postInstallActions = "createfolder="; }, "needs a key"},
      {[&](auto& d) { d.postInstallActions = "preinstallcopy=/a/b"; }, "source;destination"},
      {[&](auto& d) { d.postInstallActions = "DELETE=UserAccount//"; }, "whole home folder"},
      {[&](auto& d) { d.postInstallActions = "docs=[UserAccount/Docs"; }, "without its \"]\""},
      {[&](auto& d) { d.postInstallActions = "docs=[/a]{/b"; }, "without its \"}\""},
  };
  for (const auto& [change, why] : cases) {
    auto d = FullDescription();
    change(d);
    try {
      BuildBundle(d, stub, At("out"));
      ADD_FAILURE() << "built although " << why;
    } catch (const BadInput& e) {
      EXPECT_NE(std::string(e.what()).find(why), std::string::npos) << e.what();
    }
    EXPECT_FALSE(fs::exists(At("out/Demo Setup.app")));
  }
}

TEST_F(ResourcesTest, TheDescriptionNamesResourcesAndTheCleanupProgram) {
  MakePayload("desc/app");
  const auto d = bundler::ParseDescription(
      "name = A\ntarget = B\npayload = app\nresource = before.sh\nresource = /abs/After.app\n"
      "cleanup_program = tools/clean\n",
      At("desc"), "a.setup");
  EXPECT_EQ(d.resources, (std::vector<std::string>{At("desc/before.sh"), "/abs/After.app"}));
  EXPECT_EQ(d.cleanupProgram, At("desc/tools/clean"));
}

}  // namespace
}  // namespace ostrel::test
