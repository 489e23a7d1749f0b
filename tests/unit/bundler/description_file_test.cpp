// Reading setup descriptions: every kind of value, and errors that name the line.
#include <gtest/gtest.h>

#include "bundler/description_file.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

using bundler::DescriptionError;
using bundler::ParseDescription;

class DescriptionFileTest : public BundlerTest {
 protected:
  void SetUp() override {
    BundlerTest::SetUp();
    MakePayload("desc/app");
  }
  static constexpr const char* kRequired = "name = Demo\ntarget = DemoApp\npayload = app\n";
  bundler::SetupDescription Parse(const std::string& body) {
    return ParseDescription(kRequired + body, At("desc"), "demo.setup");
  }
  // The error message for a whole description, or "" when it parsed.
  std::string ErrorOfText(const std::string& text) {
    try {
      ParseDescription(text, At("desc"), "demo.setup");
    } catch (const DescriptionError& e) {
      return e.what();
    }
    return "";
  }
  std::string ErrorOf(const std::string& body) { return ErrorOfText(kRequired + body); }
};

TEST_F(DescriptionFileTest, KeysFillTheirFields) {
  WriteFile(At("desc/notes.txt"), "\xEF\xBB\xBFLine 1\r\nLine 2\r\n\r\n");
  WriteFile(At("desc/texts/license.HTM"), "<html>ok</html>\n");
  WriteFile(At("desc/logo.png"), "png bytes");
  const auto d = Parse(
      "# a comment\n"
      "   \n"
      "title = Ostrel Demo  \n"
      "message = Two\\nlines, a \\\\ and a C:\\path\n"
      "link_url = https://www.example.com/#top\n"
      "notes = @notes.txt\n"
      "agreement = @texts/license.HTM\n"
      "info = <b>bold</b>\n"
      "info_format = html\n"
      "release_notes = @@handle\n"
      "labels.0 = Nope\n"
      "labels.26 = Notes of release\n"
      "application_folder = YES\n"
      "prompt_to_replace = off\n"
      "center_message = 1\n"
      "cleanup = 3\n"
      "encryption_length = 12\n"
      "logo = @logo.png\n"
      "background = F[12],1,2\n"
      "action = createfolder=UserAccount/A\n"
      "action = delete=UserAccount/B\n"
      "resource = before.sh\n"
      "resource = /abs/After.app\n"
      "cleanup_program = tools/clean\n");
  EXPECT_EQ(d.bundleName, "Demo");
  EXPECT_EQ(d.targetFolder, "DemoApp");
  EXPECT_EQ(d.payloadFolder, At("desc") + "/app");
  EXPECT_EQ(d.windowTitle, "Ostrel Demo");
  EXPECT_EQ(d.message, "Two\nlines, a \\ and a C:\\path");
  EXPECT_EQ(d.linkURL, "https://www.example.com/#top");
  EXPECT_EQ(d.preInstallNotes.content, "Line 1\nLine 2");
  EXPECT_FALSE(d.preInstallNotes.html);
  EXPECT_EQ(d.agreement.content, "<html>ok</html>");
  EXPECT_TRUE(d.agreement.html);
  EXPECT_EQ(d.info.content, "<b>bold</b>");
  EXPECT_TRUE(d.info.html);
  EXPECT_EQ(d.releaseNotes.content, "@handle");
  EXPECT_EQ(d.labels, (std::map<int, std::string>{{0, "Nope"}, {26, "Notes of release"}}));
  EXPECT_TRUE(d.applicationFolder);
  EXPECT_FALSE(d.promptToReplace);
  EXPECT_TRUE(d.centerMessage);
  EXPECT_EQ(d.cleanup, 3);
  EXPECT_EQ(d.encryptionLength, 12);
  EXPECT_EQ(d.logo.pngPath, At("desc") + "/logo.png");
  EXPECT_EQ(d.background.pixels, "F[12]");
  EXPECT_EQ(d.background.width, 1);
  EXPECT_EQ(d.background.height, 2);
  EXPECT_EQ(d.postInstallActions, "createfolder=UserAccount/A|delete=UserAccount/B");
  EXPECT_EQ(d.resources, (std::vector<std::string>{At("desc/before.sh"), "/abs/After.app"}));
  EXPECT_EQ(d.cleanupProgram, At("desc/tools/clean"));
}

TEST_F(DescriptionFileTest, AFormatKeyOverridesTheFileName) {
  WriteFile(At("desc/page.html"), "<html>shown as text</html>");
  const auto d = Parse("agreement = @page.html\nagreement_format = plain\n");
  EXPECT_FALSE(d.agreement.html);
}

TEST_F(DescriptionFileTest, ErrorsNameTheFileAndTheLine) {
  // The three lines of Parse come first, so the body starts on line 4.
  EXPECT_EQ(ErrorOf("\ncolour = blue\n"), "demo.setup:5: unknown key \"colour\"");
  EXPECT_EQ(ErrorOf("just words\n"), "demo.setup:4: expected \"key = value\", found \"just words\"");
  EXPECT_EQ(ErrorOf("title = a\ntitle = b\n"), "demo.setup:5: \"title\" is given twice (first on line 4)");
  EXPECT_EQ(ErrorOf("prompt_to_replace = maybe\n"), "demo.setup:4: expected yes or no, found \"maybe\"");
  EXPECT_EQ(ErrorOf("cleanup = 9\n"), "demo.setup:4: expected a whole number from 0 to 4, found \"9\"");
  EXPECT_EQ(ErrorOf("= value\n"), "demo.setup:4: a line has a value but no key");
  EXPECT_EQ(ErrorOf("labels.27 = x\n"), "demo.setup:4: \"labels.27\": label numbers run from 0 to 26");
  EXPECT_EQ(ErrorOf("labels.3 = a|b\n"), "demo.setup:4: a custom label cannot hold \"|\", the labels' separator");
  EXPECT_EQ(ErrorOf("notes_format = rich\n"), "demo.setup:4: expected html or plain, found \"rich\"");
  EXPECT_EQ(ErrorOf("message = ends in \\\n"),
            "demo.setup:4: a value ends in a lone backslash; write \\\\ for one backslash");
  EXPECT_EQ(ErrorOf("logo = FFFFFF,1\n"), "demo.setup:4: a picture is \"@file.png\" or \"pixels,width,height\"");
  EXPECT_EQ(ErrorOf("payload_generate = demo:5\n"),
            "demo.setup:4: expected \"demo:N\" with N from 10 to 100000 files, found \"demo:5\"");
  EXPECT_EQ(ErrorOf("action = shell=ls|delete=x\n"),
            "demo.setup:4: an action cannot hold \"|\", the actions' separator");

  const std::string missing = ErrorOf("\n\nnotes = @nowhere.txt\n");
  EXPECT_EQ(missing.rfind("demo.setup:6: cannot read the file " + At("desc") + "/nowhere.txt", 0), 0u) << missing;
  WriteFile(At("desc/latin1.txt"), "caf\xE9");
  EXPECT_EQ(ErrorOf("info = @latin1.txt\n"), "demo.setup:4: the file " + At("desc") + "/latin1.txt is not UTF-8 text");
  EXPECT_EQ(ErrorOf("picture = @none.png\n"), "demo.setup:4: no picture file " + At("desc") + "/none.png");
}

TEST_F(DescriptionFileTest, RequiredKeysAndOnePayload) {
  EXPECT_EQ(ErrorOfText("target = A\npayload = app\n"), "demo.setup: the key \"name\" is missing");
  EXPECT_EQ(ErrorOfText("name = A\npayload = app\n"), "demo.setup: the key \"target\" is missing");
  EXPECT_EQ(ErrorOfText("name = A\ntarget = A\n"), "demo.setup: give exactly one of \"payload\" and \"payload_generate\"");
  EXPECT_EQ(ErrorOfText("name = A\ntarget = A\npayload = app\npayload_generate = demo:10\n"),
            "demo.setup: give exactly one of \"payload\" and \"payload_generate\"");
  EXPECT_EQ(ErrorOfText("name = A\ntarget = A\npayload = nothing\n"),
            "demo.setup:3: no payload folder " + At("desc") + "/nothing");
  EXPECT_EQ(ErrorOfText("name = A\ntarget = A\npayload = app\nactions = a=b\naction = c=d\n"),
            "demo.setup: give the action list either as \"actions\" or as \"action\" lines, not both");
  EXPECT_EQ(ErrorOfText("name = A\ntarget = A\npayload_generate = demo:300\n"), "");
}

}  // namespace
}  // namespace ostrel::test
