#include "unit/bundler/bundler_fixture.h"

#include <sys/stat.h>

#include <filesystem>

#include "core/pixel_pictures.h"
#include "payload/archives.h"

namespace ostrel::test {

void BundlerTest::SetUp() {
  SandboxTest::SetUp();
  stub = At("build/stub");
  WriteFile(stub, "#!/bin/false\nstub\n");
  // The clean-up program is looked for beside the stub.
  WriteFile(At("build/ostrel-cleanup"), "#!/bin/false\ncleanup\n");
  chmod(At("build/ostrel-cleanup").c_str(), 0755);
}

std::string BundlerTest::WritePng(const std::string& name, const std::vector<std::vector<QColor>>& rows) {
  QImage image(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), QImage::Format_ARGB32);
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) image.setPixelColor(x, y, rows[y][x]);
  const std::string path = At("pictures/" + name);
  fs::create_directories(fs::path(path).parent_path());
  EXPECT_TRUE(image.save(QString::fromStdString(path), "PNG"));
  return path;
}

std::string BundlerTest::MakePayload(const std::string& name) {
  const std::string dir = At(name);
  if (fs::exists(dir)) return dir;
  WriteFile(dir + "/readme.txt", "hello\n");
  WriteFile(dir + "/bin/tool", std::string(100'000, 'x') + "end");
  chmod((dir + "/bin/tool").c_str(), 0750);
  WriteFile(dir + "/a/b/c/deep.bin", std::string("\0\1\2\xFF", 4));
  WriteFile(dir + "/Größe.txt", "non-ASCII name");
  fs::create_directories(dir + "/empty");
  fs::create_symlink("../readme.txt", dir + "/a/readme-link");
  return dir;
}

bundler::SetupDescription BundlerTest::FullDescription() {
  bundler::SetupDescription d;
  d.bundleName = "Demo Setup";
  d.executableName = "Setup";
  d.timeStamp = "2024-06-01 12:00:00";
  d.applicationFolder = true;
  d.executeAfter = "After.app";
  d.logo.pixels = "F[6]000000";
  d.logo.width = 2;
  d.logo.height = 1;
  d.promptToReplace = true;
  d.executeBefore = "SetupFolder/Before";
  d.encryptionLength = 4096;
  d.centerMessage = true;
  d.agreement = {"<html><body><p>Agree?</p>\n<p>Größe</p></body></html>", true};
  d.message = "Welcome\nto the demo";
  d.linkURL = "https://www.example.com/";
  d.linkText = "Home page";
  d.info = {"Line one\nLine two", false};
  d.labels = {{2, "Go"}, {5, "Accept"}, {19, "Busy..."}};
  d.targetFolder = "DemoApp";
  d.copyright = "(c) 2024 Demo";
  d.windowTitle = "Demo Title";
  d.installChoices = "choices";
  d.installOptions = "options";
  d.minOS = "MacOS10.12";
  d.minRAM = "1GB";
  d.completionURL = "https://www.example.com/done";
  d.preInstallNotes = {"Notes | with a bar\nand a second line", false};
  d.releaseNotes = {"Release notes", false};
  d.postInstallActions = "createfolder=UserAccount/Demo|delete=UserAccount/Old";
  d.cleanup = 2;
  d.payloadFolder = MakePayload("payload");
  WriteFile(At("resources/After.app/Contents/MacOS/After"), "#!/bin/sh\n");
  d.resources = {At("resources/After.app")};
  return d;
}

std::string BundlerTest::Unscrambled(const std::string& scrambled, const std::string& to) const {
  fs::create_directories(fs::path(to).parent_path());
  fs::copy_file(scrambled, to);
  ViewConst::EncryptDecryptFileEnd(to, false);
  return to;
}

std::string DemoDescriptionPath() {
  return std::string(OSTREL_SOURCE_DIR) + "/examples/demo/demo.setup";
}

std::string Expanded(std::string pixels) {
  ViewConst::PixelStringExpand(pixels);
  return pixels;
}

}  // namespace ostrel::test
