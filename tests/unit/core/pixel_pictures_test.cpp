// Pixel texts: run expansion, decoding into pixels, and the refusals.
#include <gtest/gtest.h>

#include "core/pixel_pictures.h"
#include "dialogs/globals_kv.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

std::string Expanded(std::string text) {
  ViewConst::PixelStringExpand(text);
  return text;
}

TEST(PixelStringExpand, RunsRepeatTheCharacterBeforeTheBracket) {
  EXPECT_EQ(Expanded("FF[5]"), "FFFFFF");        // the first F is the literal head
  EXPECT_EQ(Expanded("F[3]0"), "FFF0");          // a run at the very start
  EXPECT_EQ(Expanded("A[2]B[2]"), "AABB");       // B is not copied twice
  EXPECT_EQ(Expanded("12A[3]xyB[1]C"), "12AAAxyBC");
  EXPECT_EQ(Expanded("AB[0]C"), "AC");           // a count of 0 removes the character
  EXPECT_EQ(Expanded("0[2.9]"), "00");           // counts are truncated
  EXPECT_EQ(Expanded("ABCDEF"), "ABCDEF");       // nothing to expand
  EXPECT_EQ(Expanded(""), "");
}

TEST(PixelStringExpand, HostileTextsNeverCrash) {
  EXPECT_EQ(Expanded("A[3"), "");                // a group left open fails
  EXPECT_EQ(Expanded("A[3]B[2"), "");
  EXPECT_EQ(Expanded("A[x]B"), "B");             // no number counts as 0
  EXPECT_EQ(Expanded("A[-4]B"), "B");
  EXPECT_EQ(Expanded("A]B[2]"), "A]BB");         // a "]" before any "[" is literal
  EXPECT_EQ(Expanded("[4]AB"), "AB");            // no character to repeat
  EXPECT_EQ(Expanded("A[2][3]"), "AA]]]");
  EXPECT_EQ(Expanded("A[99999999999999999999]"), "");
}

using PixelPictureTest = SandboxTest;

// Long expansions give the event loop a turn, so they need the platform.
TEST_F(PixelPictureTest, TheExpansionIsBoundedAtFiftyMillionBytes) {
  EXPECT_EQ(Expanded("0[50000000]").size(), 50000000u);
  EXPECT_EQ(Expanded("0[50000001]"), "");
  EXPECT_EQ(Expanded("0[30000000]1[20000000]2"), "");  // the sum counts, not each run
}

TEST_F(PixelPictureTest, PixelsRunRowByRowFromTheTopLeft) {
  auto picture = ViewConst::PixelStringToPicture(2, 2, "FF0000" "00FF00" "0000FF" "123ABC");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 2);
  EXPECT_EQ(picture->height, 2);
  EXPECT_EQ(picture->Pixel(0, 0), 0xFF0000u);
  EXPECT_EQ(picture->Pixel(1, 0), 0x00FF00u);
  EXPECT_EQ(picture->Pixel(0, 1), 0x0000FFu);
  EXPECT_EQ(picture->Pixel(1, 1), 0x123ABCu);
  EXPECT_EQ(picture->transparent, 0);
}

TEST_F(PixelPictureTest, AnEmptyTextIsNoPictureAndNoMessage) {
  EXPECT_FALSE(ViewConst::PixelStringToPicture(1, 1, ""));
  EXPECT_TRUE(ui.modals.empty());
}

TEST_F(PixelPictureTest, APictureThatCannotBeBuiltShowsTheRamMessage) {
  struct Case {
    int width, height;
    const char* text;
  };
  const Case cases[] = {
      {0, 1, "FFFFFF"},                // no width
      {1, -1, "FFFFFF"},               // negative height
      {2, 1, "FFFFFF"},                // too short for its size
      {100000, 100000, "FFFFFF"},      // absurd size, refused before any allocation
      {2147483647, 2147483647, "0"},
      {1, 1, "F[3"},                   // the expansion fails
  };
  for (const Case& c : cases) {
    ui.modals.clear();
    ui.answers = {fw::testing::ScriptedUI::Press("Btn3")};
    EXPECT_FALSE(ViewConst::PixelStringToPicture(c.width, c.height, c.text)) << c.width << "x" << c.height;
    ASSERT_EQ(ui.modals.size(), 1u);
    EXPECT_EQ(ui.modals[0].Get("MessageText").caption,
              "INSUFFICIENT RAM.\n\nUnable to process picture due to RAM shortage.");
    EXPECT_EQ(GlobalsKv::gConflictType, 0);
  }
}

}  // namespace
}  // namespace ostrel::test
