// The record cipher, hexadecimal Unicode texts and whole-file reads and writes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"
#include "support/sandbox.h"

namespace {

using namespace ViewConst;
using ostrel::test::SandboxTest;
namespace fs = std::filesystem;

std::string Hex(const std::string& bytes) {
  static const char* digits = "0123456789ABCDEF";
  std::string out;
  for (unsigned char b : bytes) out += {digits[b >> 4], digits[b & 15]};
  return out;
}

TEST(FileutilCipher, OddOffsetsMoveByOneAndWrap) {
  EXPECT_EQ(Encrypt("AAAA"), "ABAB");
  std::string one = "Z";
  DecryptStr(one);
  EXPECT_EQ(one, "Z");
  EXPECT_EQ(Encrypt(""), "");

  // Clear 255 at an odd offset is stored as 0 and read back as 255.
  EXPECT_EQ(Encrypt(std::string("\x10\xFF", 2)), std::string("\x10\x00", 2));
  std::string stored("\x10\x00", 2);
  DecryptStr(stored);
  EXPECT_EQ(stored, std::string("\x10\xFF", 2));

  // Every byte value at both parities survives the round trip.
  std::string all;
  for (int b = 0; b < 256; ++b) all += {static_cast<char>(b), static_cast<char>(b)};
  std::string round = Encrypt(all);
  EXPECT_NE(round, all);
  DecryptStr(round);
  EXPECT_EQ(round, all);
}

TEST(FileutilHex, DigitsDecodeHighFirst) {
  uint8_t out[3] = {0, 0, 0x55};
  MemoryBlockHexToByte("FF7A", out, 2);
  EXPECT_EQ(out[0], 0xFF);
  EXPECT_EQ(out[1], 0x7A);
  EXPECT_EQ(out[2], 0x55);
  // A lower-case letter is no digit: 'a' counts 42, so "a0" is 42*16 mod 256.
  MemoryBlockHexToByte("a0", out, 1);
  EXPECT_EQ(out[0], (42 * 16) % 256);
}

TEST(FileutilHex, UnicodeFromHexReadsUtf16) {
  const std::string text = "<b>Caf\xC3\xA9</b>\n\xE2\x82\xAC \xF0\x9F\x98\x80";
  EXPECT_EQ(UnicodeFromHex(Hex(fw::Utf8ToUtf16(text, true)), true), text);
  // A byte-order mark decides the order and is dropped.
  EXPECT_EQ(UnicodeFromHex("FFFE" + Hex(fw::Utf8ToUtf16(text, true)), true), text);
  EXPECT_EQ(UnicodeFromHex("FEFF" + Hex(fw::Utf8ToUtf16(text, false)), true), text);
  EXPECT_EQ(UnicodeFromHex("41004", true), "A");  // an odd digit is no byte
  EXPECT_EQ(UnicodeFromHex("4100", false), "4100");
}

class FileutilDataFiles : public SandboxTest {};

TEST_F(FileutilDataFiles, ReadGivesTheWholeFileOrNothing) {
  const std::string bytes("a\0b\r\n\xFF", 6);
  WriteFile(At("in.data"), bytes);
  std::string text = "stale";
  DataFileRead(At("in.data"), text);
  EXPECT_EQ(text, bytes);
  DataFileRead(At("missing"), text);
  EXPECT_EQ(text, "");
  text = "stale";
  DataFileRead("in.data", text);  // relative: never resolves
  EXPECT_EQ(text, "");

  fs::create_directories(At("dir"));
  EXPECT_THROW(DataFileRead(At("dir"), text), fw::IOException);
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  EXPECT_THROW(DataFileRead(At("pipe"), text), fw::IOException);  // and does not wait
}

TEST_F(FileutilDataFiles, WriteReplacesTheFileWhenItsFolderExists) {
  const std::string path = At("out/PostInstallCleanup.data");
  WriteFile(path, "an older and longer content");
  DataFileWrite(path, "DeleteFile=/x");
  EXPECT_EQ(ReadFile(path), "DeleteFile=/x");
  EXPECT_EQ(std::distance(fs::directory_iterator(At("out")), fs::directory_iterator()), 1);

  DataFileWrite(At("no/such/file"), "x");
  EXPECT_FALSE(fs::exists(At("no")));

  WriteFile(At("busy/inner"), "x");
  EXPECT_THROW(DataFileWrite(At("busy"), "text"), fw::IOException);
  EXPECT_EQ(ReadFile(At("busy/inner")), "x");
}

}  // namespace
