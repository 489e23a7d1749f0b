// Finding, deciphering and parsing the setup record.
#include <gtest/gtest.h>

#include "fileutil/view_const.h"
#include "framework/text.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using SetupRecordTest = CoreTest;

// UTF-16LE of a text, written out in hexadecimal digits.
std::string HexUtf16(const std::string& utf8) {
  static const char* digits = "0123456789ABCDEF";
  std::string hex;
  for (unsigned char b : fw::Utf8ToUtf16(utf8, true)) (hex += digits[b >> 4]) += digits[b & 15];
  return hex;
}

TEST_F(SetupRecordTest, EveryFieldLandsInItsPlace) {
  SetupRecord r;
  r.data = {{1, "2024-05-06"}, {2, "1"}, {3, "After.app"}, {4, "00[6],1,1"}, {5, "junk"}, {6, "FFFFFF,1,1"},
            {7, "1"}, {8, "Before"}, {9, "F[12],2,1"}, {10, "1234.9"}, {11, "1"}, {12, "junk"}};
  r.text = {{1, "Agree|now"}, {2, "Hello"}, {3, "example.com"}, {4, "Visit us"}, {5, "Info|text"},
            {6, "a|b|c"}, {7, "MyApp"}, {8, "(c) Me"}, {9, "Title"}, {13, "1"}, {22, "choices"},
            {23, "options"}, {24, "MacOS10.12"}, {25, "1GB"}, {26, "done.example"}, {27, "Notes"},
            {28, "Release"}, {29, "actions"}, {30, "2"}};
  WriteRecord(r);

  ASSERT_TRUE(window->ReadData());
  const OstrelStubWindow& w = *window;
  EXPECT_EQ(w.fTimeStamp, "2024-05-06");
  EXPECT_TRUE(w.fApplicationFolder);
  EXPECT_EQ(w.fExecuteAfterName, "After.app");
  EXPECT_EQ(w.fLogoPixelStr, "00[6]");
  EXPECT_EQ(w.fPicturePixelStr, "FFFFFF");
  EXPECT_TRUE(w.fPromptToReplace);
  EXPECT_EQ(w.fExecuteBeforeName, "Before");
  EXPECT_EQ(w.fBackgroundPixelStr, "F[12]");
  EXPECT_EQ(w.fBackgroundWidth, 2);
  EXPECT_EQ(w.fBackgroundHeight, 1);
  EXPECT_EQ(w.fEncryptionLen, 1234);
  EXPECT_TRUE(w.fCenterMessage);

  EXPECT_EQ(w.fAgreement, "Agree\nnow");
  EXPECT_EQ(w.fMessage, "Hello");
  EXPECT_EQ(w.fURLActual, "example.com");
  EXPECT_EQ(w.fURLDisplayed, "Visit us");
  EXPECT_EQ(w.fInfo, "Info\ntext");
  EXPECT_EQ(w.fLabels, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(w.fTargetFolder, "MyApp");
  EXPECT_EQ(w.fCopyright, "(c) Me");
  EXPECT_EQ(w.fWindowTitle, "Title");
  EXPECT_TRUE(w.fInstallationPatch);
  EXPECT_EQ(w.fInstallChoices, "choices");
  EXPECT_EQ(w.fInstallOptions, "options");
  EXPECT_EQ(w.fMinOS, "MacOS10.12");
  EXPECT_EQ(w.fMinRAM, "1GB");
  EXPECT_EQ(w.fCompletionURL, "done.example");
  EXPECT_EQ(w.fPreInstallNotes, "Notes");
  EXPECT_EQ(w.fPostInstallNotes, "Release");
  EXPECT_EQ(w.fPostCopy, "actions");
  EXPECT_EQ(w.fCleanup, 2);
}

TEST_F(SetupRecordTest, OddBytesAreOneHigherInTheFileAndAOneByteRecordStands) {
  // Clear "a\xFF" is stored as "a\x00"; reading gives the 255 back.
  WriteRawData(std::string("a\0", 2));
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fTimeStamp, "a\xFF");

  WriteRawData("Z");
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fTimeStamp, "Z");
  EXPECT_EQ(window->fExecuteAfterName, "");
  EXPECT_EQ(window->fMessage, "");
}

TEST_F(SetupRecordTest, ShortRecordsParseAndOnlyAOneIsTrue) {
  SetupRecord r;
  r.data = {{1, "t"}, {2, "yes"}, {3, "After"}, {7, "11"}};
  r.text = {{1, "Agreement"}, {2, "Message"}, {13, " 1"}};
  WriteRecord(r);
  ASSERT_TRUE(window->ReadData());
  EXPECT_FALSE(window->fApplicationFolder);
  EXPECT_FALSE(window->fPromptToReplace);
  EXPECT_FALSE(window->fInstallationPatch);
  EXPECT_EQ(window->fExecuteAfterName, "After");
  EXPECT_EQ(window->fEncryptionLen, 0);
  EXPECT_EQ(window->fMessage, "Message");
  EXPECT_EQ(window->fMinOS, "");
  EXPECT_EQ(window->fCleanup, 0);
}

TEST_F(SetupRecordTest, NoDataLeavesEveryFieldUntouchedAndNoTextDataReadsEmpty) {
  window->fMessage = "before";
  EXPECT_FALSE(window->ReadData());  // no Resources folder at all
  WriteRawData("");
  WriteTextData("|#|Message from TextData");
  EXPECT_FALSE(window->ReadData());
  EXPECT_EQ(window->fMessage, "before");

  fs::remove(Resources() + "/TextData");
  WriteRawData("t");
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fMessage, "");
  EXPECT_EQ(window->Label(0), "");
}

TEST_F(SetupRecordTest, TheBundleEndsAtTheFirstContentsOfThePath) {
  platform.executablePath = At("Setup.app/Contents/MacOS/ContentsSetup");
  WriteFile(At("Setup.app/Contents/Resources/Data"), ViewConst::Encrypt("found"));
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fTimeStamp, "found");
  // A bundle inside a folder named "Contents" is cut there, and its record not found.
  platform.executablePath = At("Contents/Setup.app/Contents/MacOS/Setup");
  WriteFile(At("Contents/Setup.app/Contents/Resources/Data"), ViewConst::Encrypt("missed"));
  EXPECT_FALSE(window->ReadData());
}

TEST_F(SetupRecordTest, PictureFieldsSplitIntoPixelsWidthAndHeight) {
  SetupRecord r;
  r.data = {{4, "FF,1,1"}, {6, "00[6],3.9,abc"}, {9, "0,99999999999,-5"}};
  WriteRecord(r);
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fLogoPixelStr, "FF");
  EXPECT_EQ(window->fLogoWidth, 1);
  EXPECT_EQ(window->fLogoHeight, 1);
  EXPECT_EQ(window->fPicturePixelStr, "00[6]");
  EXPECT_EQ(window->fPictureWidth, 3);
  EXPECT_EQ(window->fPictureHeight, 0);
  // An absurd size is just a number; the picture code refuses it later.
  EXPECT_EQ(window->fBackgroundPixelStr, "0");
  EXPECT_GT(window->fBackgroundWidth, 1000000);
  EXPECT_EQ(window->fBackgroundHeight, -5);
}

TEST_F(SetupRecordTest, EachTextFieldIsUtf8OrMacRomanByItself) {
  SetupRecord r;
  r.data = {{1, "t"}};
  r.text = {{7, "Caf\xC3\xA9 Tool"}, {8, "\xA9 2026 Caf\x8E"}, {9, "\xC3\xA9t\xC3\xA9"}};
  WriteRecord(r);
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fTargetFolder, "Caf\xC3\xA9 Tool");
  EXPECT_EQ(window->fCopyright, "\xC2\xA9 2026 Caf\xC3\xA9");  // MacRoman
  EXPECT_EQ(window->fWindowTitle, "\xC3\xA9t\xC3\xA9");
}

TEST_F(SetupRecordTest, LongTextsBreakLinesAtBarsAndDecodeHtmlFromHex) {
  const std::string html = "<b>Caf\xC3\xA9</b>";
  SetupRecord r;
  r.data = {{1, "t"}};
  r.text = {{1, "$HTML$" + HexUtf16(html)}, {5, "one|two|three"}, {27, "$html$" + HexUtf16("<p>x</p>")},
            {28, "plain \xC3\xA9"}};
  WriteRecord(r);
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fAgreement, html);
  EXPECT_EQ(window->fInfo, "one\ntwo\nthree");
  EXPECT_EQ(window->fPreInstallNotes, "<p>x</p>");
  EXPECT_EQ(window->fPostInstallNotes, "plain \xC3\xA9");
}

}  // namespace
}  // namespace ostrel::test
