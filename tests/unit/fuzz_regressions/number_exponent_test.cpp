// Inputs found by fuzzing, kept so that their faults stay fixed. Each case
// feeds the found bytes through the public function the fuzz target called,
// then pins down what a user of the record would have seen.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "core/ostrel_stub_window.h"
#include "core/pixel_pictures.h"
#include "fileutil/view_const.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

// fuzz_pixels: width 0, height 19, then the text "[0e920]". The run's count
// is zero times ten to the 920th, which a double makes 0 times infinity: a
// NaN, whose conversion to an integer is undefined (and gives the smallest
// integer on x86).
const unsigned char kZeroWithHugeExponent[] = {0x00, 0x13, '[', '0', 'e', '9', '2', '0', ']'};

using FuzzRegressionTest = SandboxTest;

TEST_F(FuzzRegressionTest, ARunCountOfZeroWithAHugeExponentIsZero) {
  const std::string input(reinterpret_cast<const char*>(kZeroWithHugeExponent), sizeof kZeroWithHugeExponent);
  ui.answers.push_back(fw::testing::ScriptedUI::PressDefault());
  EXPECT_EQ(ViewConst::PixelStringToPicture(static_cast<int8_t>(input[0]), static_cast<int8_t>(input[1]),
                                            input.substr(2)),
            nullptr);
  EXPECT_EQ(ui.modals.size(), 1u);  // the one picture failure message

  EXPECT_EQ(ViewConst::Val("0e920"), 0);
  EXPECT_EQ(ViewConst::Val("-0.0E999"), 0);
  // Digits that overflow to infinity, brought back by a huge negative exponent.
  const int64_t near_one = ViewConst::Val(std::string(400, '9') + "e-400");
  EXPECT_GE(near_one, 0);
  EXPECT_LE(near_one, 1);
}

TEST_F(FuzzRegressionTest, RecordNumbersWithAHugeExponentReadAsZero) {
  OstrelStubWindow window;
  window.ParseData("$|~$|~$|~FF,0e999,0e999$|~$|~$|~$|~$|~$|~0e999", "|#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#||#|0e999");
  EXPECT_EQ(window.fEncryptionLen, 0);
  EXPECT_EQ(window.fLogoWidth, 0);
  EXPECT_EQ(window.fLogoHeight, 0);
  EXPECT_EQ(window.fCleanup, 0);
}

}  // namespace
}  // namespace ostrel::test
