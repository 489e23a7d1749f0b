// Finding, deciphering and parsing the setup record. Each field at its
// number is pinned by the bundle read back in the bundler's tests.
#include <gtest/gtest.h>

#include "fileutil/view_const.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using SetupRecordTest = CoreTest;

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
  r.data = {{1, "t"}, {2, "yes"}, {3, "After"}, {7, "11"}, {10, "1234.9"}, {11, "1"}};
  r.text = {{1, "Agreement"}, {2, "Message"}, {13, " 1"}};
  WriteRecord(r);
  ASSERT_TRUE(window->ReadData());
  EXPECT_FALSE(window->fApplicationFolder);
  EXPECT_FALSE(window->fPromptToReplace);
  EXPECT_TRUE(window->fCenterMessage);
  EXPECT_FALSE(window->fInstallationPatch);
  EXPECT_EQ(window->fExecuteAfterName, "After");
  EXPECT_EQ(window->fEncryptionLen, 1234);  // a fraction is cut off
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

// The long texts' line breaks and HTML in upper-case "$HTML$" are read back
// from a built bundle in the bundler's tests.
TEST_F(SetupRecordTest, EachTextFieldIsUtf8OrMacRomanByItselfAndTheHtmlMarkerIsOfAnyCase) {
  SetupRecord r;
  r.data = {{1, "t"}};
  r.text = {{7, "Caf\xC3\xA9 Tool"}, {8, "\xA9 2026 Caf\x8E"}, {9, "\xC3\xA9t\xC3\xA9"},
            {27, "$html$3C0070003E00E900"}};  // "<p>é" in UTF-16LE
  WriteRecord(r);
  ASSERT_TRUE(window->ReadData());
  EXPECT_EQ(window->fTargetFolder, "Caf\xC3\xA9 Tool");
  EXPECT_EQ(window->fCopyright, "\xC2\xA9 2026 Caf\xC3\xA9");  // MacRoman
  EXPECT_EQ(window->fWindowTitle, "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(window->fPreInstallNotes, "<p>\xC3\xA9");
}

}  // namespace
}  // namespace ostrel::test
