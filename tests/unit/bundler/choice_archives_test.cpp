// Choices and options in the description: packed archives with their pins,
// URL options, and what the builder refuses.
#include <gtest/gtest.h>

#include "bundler/bundle.h"
#include "bundler/description_file.h"
#include "choices/choice_entries.h"
#include "core/ostrel_stub_window.h"
#include "framework/sha256.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"
#include "support/raw_zip.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

class ChoiceArchivesTest : public BundlerTest {
 protected:
  void SetUp() override {
    BundlerTest::SetUp();
    MakePayload("desc/app");
    WriteFile(At("desc/std/readme.txt"), "standard");
    WriteFile(At("desc/full/bin/tool"), "full");
    WriteFile(At("desc/served.zip"), BuildRawZip({File("samples/a.txt", "the archive a server hands out")}));
  }
  std::string Build(const std::string& body) {
    const auto d = bundler::ParseDescription("name = S\ntarget = Tool\npayload = app\n" + body, At("desc"), "s.setup");
    return bundler::BuildBundle(d, stub, At("out"));
  }
  std::string ErrorOf(const std::string& body) {
    try {
      Build(body);
    } catch (const bundler::BadInput& e) {
      return e.what();
    }
    return "";
  }
};

TEST_F(ChoiceArchivesTest, FoldersArePackedWithTheirPinsAndUrlsStayUrls) {
  const std::string bundle = Build(
      "choice.1 = Standard\nchoice.1.payload = std\nchoice.1.folder = Extras\nchoice.1.help = The usual\n"
      "choice.2 = Full\nchoice.2.payload = @full\n"
      "option.1 = Web\noption.1.url = https://example.com/get/pack.zip?v=2\noption.1.sha256_of = served.zip\n"
      "option.2 = Plain web\noption.2.url = http://example.com/p.zip\n");
  platform.executablePath = bundle + "/Contents/MacOS/S";
  OstrelStubWindow w;
  ASSERT_TRUE(w.ReadData());
  const std::string resources = bundle + "/Contents/Resources/";
  EXPECT_EQ(w.fInstallChoices, "Standard,Choice1.zip,Extras,The usual,sha256=" + fw::Sha256OfFile(resources + "Choice1.zip") +
                                   "|Full,Choice2.zip,Tool,,sha256=" + fw::Sha256OfFile(resources + "Choice2.zip"));
  EXPECT_EQ(w.fInstallOptions, "Web,https://example.com/get/pack.zip?v=2,Tool,,sha256=" +
                                   fw::Sha256OfFile(At("desc/served.zip")) + "|Plain web,http://example.com/p.zip,Tool,");
  EXPECT_FALSE(fs::exists(resources + "Option1.zip"));

  // The stub takes the archives as they are: content at the top, pins that match.
  for (const auto& entry : ChoiceEntries(w.fInstallChoices))
    EXPECT_TRUE(ArchiveMatchesPin(EntryPin(entry), resources + EntryField(entry, 2)));
  ASSERT_TRUE(ViewConst::ZipFileToFolder(resources + "Choice2.zip", At("x"), true));
  EXPECT_EQ(ReadFile(At("x/bin/tool")), "full");
}

TEST_F(ChoiceArchivesTest, WhatCannotBeInstalledIsRefused) {
  EXPECT_NE(ErrorOf("choice.11 = Eleventh\n").find("numbered from 1 to 10"), std::string::npos);
  std::string eleven = "options = ";
  for (int i = 0; i < 11; ++i) eleven += (i ? "|" : "") + std::string("O,o.zip");
  EXPECT_NE(ErrorOf(eleven + "\n").find("more than 10 entries"), std::string::npos);
  EXPECT_NE(ErrorOf("choice.2 = Two\nchoice.2.payload = std\n").find("choice.1"), std::string::npos);
  EXPECT_NE(ErrorOf("choice.1 = A, B\nchoice.1.payload = std\n").find("cannot hold"), std::string::npos);
  EXPECT_NE(ErrorOf("choice.1 = A\nchoice.1.payload = std\nchoice.1.folder = ../up\n").find("plain folder"),
            std::string::npos);
  EXPECT_NE(ErrorOf("choice.1 = A\nchoice.1.url = http://x/a.zip\n").find("unknown key"), std::string::npos);
  EXPECT_NE(ErrorOf("option.1 = A\noption.1.url = ftp://x/a.zip\n").find("http://"), std::string::npos);
  EXPECT_NE(ErrorOf("option.1 = A\noption.1.url = http://x/a.zip\noption.1.payload = std\n").find("exactly one"),
            std::string::npos);
  EXPECT_NE(ErrorOf("option.1 = A\noption.1.url = http://x/a.zip\noption.1.sha256 = abc\n").find("64 hexadecimal"),
            std::string::npos);
  EXPECT_NE(ErrorOf("options = A,a.zip\noption.1 = B\noption.1.payload = std\n").find("not both"), std::string::npos);
  // A ready-made archive the installer could not read, in the installer's words.
  const std::string url = "option.1 = A\noption.1.url = http://x/a.zip\noption.1.sha256_of = ready.zip\n";
  WriteFile(At("desc/ready.zip"), BuildRawZip({File("a.txt", "a"), RawEntry{.name = "b.bin", .content = "b", .method = 9}}));
  EXPECT_NE(ErrorOf(url).find("the entry \"b.bin\" uses Deflate64, a compression method this setup cannot read"),
            std::string::npos);
  WriteFile(At("desc/ready.zip"), "not an archive");
  EXPECT_NE(ErrorOf(url).find("damaged or not a zip archive"), std::string::npos);
  EXPECT_FALSE(fs::exists(At("out/S.app")));
}

}  // namespace
}  // namespace ostrel::test
