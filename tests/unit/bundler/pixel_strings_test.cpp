// Pictures written as pixel texts, checked through the installer's expander.
#include <gtest/gtest.h>

#include <random>

#include "bundler/pixel_strings.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

using bundler::CompressRuns;

// The installer's expander gives the event loop a turn now and then.
using PixelRunsTest = BundlerTest;

// Every text must come back unchanged through the installer's expander.
void ExpectRoundTrip(const std::string& hex) {
  const std::string compressed = CompressRuns(hex);
  EXPECT_LE(compressed.size(), hex.size());
  EXPECT_EQ(Expanded(compressed), hex) << "compressed: " << compressed;
}

TEST_F(PixelRunsTest, RunsAreWrittenOnlyWhereTheyGain) {
  EXPECT_EQ(CompressRuns("FFFF"), "FFFF");    // "F[4]" is no shorter
  EXPECT_EQ(CompressRuns("FFFFF"), "F[5]");   // one character saved
  EXPECT_EQ(CompressRuns(std::string(10, '0')), "0[10]");
  EXPECT_EQ(CompressRuns("FFFFFF000000"), "F[6]0[6]");
  EXPECT_EQ(CompressRuns("12FFFFFFFFFF34"), "12F[10]34");
  EXPECT_EQ(CompressRuns("123456"), "123456");  // no run: no bracket at all
  EXPECT_EQ(CompressRuns(""), "");
}

TEST_F(PixelRunsTest, EveryShapeOfTextExpandsBackExactly) {
  ExpectRoundTrip("FFFFFF");                                 // one white pixel, a run at the very start
  ExpectRoundTrip("A" + std::string(12, 'B'));               // one literal before the first run
  ExpectRoundTrip("AB" + std::string(7, 'C') + "D");         // literals on both sides
  ExpectRoundTrip(std::string(6, 'A') + std::string(6, 'B'));  // two runs side by side
  ExpectRoundTrip(std::string(600'000, 'F'));                // one long run, a six-digit count
  ExpectRoundTrip("0F0F0F" + std::string(30, 'E') + "0F0F0F");
  ExpectRoundTrip("123456");                                 // a single pixel, nothing to compress

  // Mixed pictures: random pixels among long single-colour stretches.
  std::mt19937 random(7);
  for (int round = 0; round < 50; ++round) {
    std::vector<uint8_t> rgb;
    const int pixels = 1 + static_cast<int>(random() % 300);
    for (int p = 0; p < pixels; ++p) {
      const bool plain = random() % 3 != 0;
      const uint8_t value = plain ? (random() % 2 ? 0xFF : 0x00) : static_cast<uint8_t>(random());
      for (int c = 0; c < 3; ++c) rgb.push_back(plain ? value : static_cast<uint8_t>(random()));
    }
    ExpectRoundTrip(bundler::HexFromRgb(rgb));
  }
}

class PictureFileTest : public BundlerTest {};

TEST_F(PictureFileTest, APngBecomesRowsOfPixelsOverWhite) {
  const QColor white(255, 255, 255), black(0, 0, 0), clear(0, 0, 0, 0);
  const auto path = WritePng("p.png", {{black, white, QColor(1, 2, 3)},
                                        {clear, QColor(0, 0, 255, 255), QColor(0, 255, 0, 64)}});
  const auto p = bundler::PictureFromPng(path);
  EXPECT_EQ(p.width, 3);
  EXPECT_EQ(p.height, 2);
  // Rows from the top, each from the left; 64/255 green over white is BF FF BF.
  EXPECT_EQ(Expanded(p.pixels), "000000FFFFFF010203FFFFFF0000FFBFFFBF");
}

TEST_F(PictureFileTest, ALargeFlatPictureStaysSmallAndExact) {
  std::vector<std::vector<QColor>> rows(238, std::vector<QColor>(396, QColor(255, 255, 255)));
  for (auto& px : rows[100]) px = QColor(0xEE, 0xEE, 0xEE);
  rows[5][7] = QColor(0x12, 0x34, 0x56);
  const auto p = bundler::PictureFromPng(WritePng("bg.png", rows));
  EXPECT_LT(p.pixels.size(), 100u);
  const std::string hex = Expanded(p.pixels);
  ASSERT_EQ(hex.size(), 396u * 238 * 6);
  EXPECT_EQ(hex.substr((5 * 396 + 7) * 6, 6), "123456");
  EXPECT_EQ(hex.substr(100 * 396 * 6, 6), "EEEEEE");
  EXPECT_EQ(hex.substr(hex.size() - 6), "FFFFFF");
}

TEST_F(PictureFileTest, BadPicturesAreRefused) {
  auto refused = [](const std::string& pixels, int w, int h) {
    bundler::PictureSource s;
    s.pixels = pixels;
    s.width = w;
    s.height = h;
    try {
      bundler::PictureField(s, "logo");
    } catch (const bundler::BadInput& e) {
      return std::string(e.what()).find("logo") != std::string::npos;
    }
    return false;
  };
  EXPECT_TRUE(refused("FFFFF", 1, 1));        // too short
  EXPECT_TRUE(refused("F[7]", 1, 1));         // too long
  EXPECT_TRUE(refused("ffffff", 1, 1));       // lower case does not decode
  EXPECT_TRUE(refused("[6]", 1, 1));          // a run without its character
  EXPECT_TRUE(refused("F[6", 1, 1));          // not closed
  EXPECT_TRUE(refused("F[x]", 1, 1));         // not a count
  EXPECT_TRUE(refused("FFFFFF", 0, 1));       // no size
  EXPECT_TRUE(refused("F[6]", 10000, 10000));  // more than the installer can hold

  WriteFile(At("not.png"), "text");
  bundler::PictureSource s;
  s.pngPath = At("not.png");
  EXPECT_THROW(bundler::PictureField(s, "logo"), bundler::BadInput);
}

}  // namespace
}  // namespace ostrel::test
