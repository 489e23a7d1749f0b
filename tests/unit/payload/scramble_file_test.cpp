// Scrambling whole files: the alternating step counted from the file's first
// byte, whatever the file's length and wherever the internal chunks end; a
// payload of 1 GiB streams through in bounded memory and in seconds (heavy
// on the disc; leave it out with --gtest_filter=-*Heavy*).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "payload/archives.h"
#include "payload/byte_step.h"
#include "support/forked_child.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

constexpr size_t kMiB = size_t(1) << 20;

// The step as the record format defines it, one byte at a time.
std::string Reference(std::string text, bool encrypt) {
  for (size_t i = 1; i < text.size(); i += 2)
    text[i] = static_cast<char>(static_cast<unsigned char>(text[i]) + (encrypt ? 1 : -1));
  return text;
}

using PayloadScrambleTest = SandboxTest;

TEST_F(PayloadScrambleTest, MatchesTheByteStepAndRoundTripsAcrossChunkBorders) {
  for (size_t n : {size_t(0), size_t(1), size_t(2), size_t(3), size_t(17), kMiB - 1, kMiB, kMiB + 1, 2 * kMiB + 3}) {
    SCOPED_TRACE(n);
    const std::string clear = RandomBytes(n, static_cast<unsigned>(n));
    const std::string path = At("payload.bin");
    WriteFile(path, clear);
    ViewConst::EncryptDecryptFileEnd(path, true);
    const std::string scrambled = ReadFile(path);
    ASSERT_EQ(scrambled.size(), n);
    EXPECT_TRUE(scrambled == Reference(clear, true));
    ViewConst::EncryptDecryptFileEnd(path, false);
    EXPECT_TRUE(ReadFile(path) == clear);
  }
}

// The copy that unscrambles Data2 shows its source, in order and whole, to
// the checksum beside it, while the copy itself gets the stepped bytes.
TEST_F(PayloadScrambleTest, ACopyShowsItsSourceBytesInOrderWhileItSteps) {
  for (size_t n : {size_t(0), size_t(5), kMiB + 7, 3 * kMiB + 1}) {
    SCOPED_TRACE(n);
    const std::string source = RandomBytes(n, static_cast<unsigned>(n) + 1);
    WriteFile(At("Data2"), source);
    std::string seen;
    const CopyResult r = CopyThroughByteStep(At("Data2"), At("copy"), false, [&seen](const void* data, size_t size) {
      seen.append(static_cast<const char*>(data), size);
    });
    EXPECT_EQ(r.error, 0);
    EXPECT_TRUE(seen == source);
    EXPECT_TRUE(ReadFile(At("copy")) == Reference(source, false));
    EXPECT_TRUE(ReadFile(At("Data2")) == source);
    std::filesystem::remove(At("copy"));
  }
}

TEST_F(PayloadScrambleTest, WrapsAtOddOffsetsKeepsTheModeAndLeavesNoTemporaryFile) {
  // Odd offsets step by one and wrap around; even ones stay.
  const std::string clear("abc\xFF\xFF\x00", 6);
  WriteFile(At("box/tool"), clear);
  fs::permissions(At("box/tool"), fs::perms(0751));
  ViewConst::EncryptDecryptFileEnd(At("box/tool"), true);
  EXPECT_EQ(fs::status(At("box/tool")).permissions(), fs::perms(0751));
  EXPECT_EQ(ReadFile(At("box/tool")), std::string("acc\x00\xFF\x01", 6));
  ViewConst::EncryptDecryptFileEnd(At("box/tool"), false);
  EXPECT_EQ(ReadFile(At("box/tool")), clear);
  EXPECT_EQ(std::distance(fs::directory_iterator(At("box")), fs::directory_iterator()), 1);
  ViewConst::EncryptDecryptFileEnd(At("box/missing"), false);
  EXPECT_FALSE(fs::exists(At("box/missing")));
}

TEST(PayloadByteStepTest, AnySplitOfABufferGivesTheWholeResult) {
  // Pieces of every length and parity go through the vector path and the tail.
  const std::string clear = RandomBytes(300, 7);
  for (bool encrypt : {true, false}) {
    for (size_t cut = 0; cut <= clear.size(); cut += 13) {
      std::string s = clear;
      auto* p = reinterpret_cast<unsigned char*>(s.data());
      ApplyByteStep(p, cut, false, encrypt);
      ApplyByteStep(p + cut, s.size() - cut, cut & 1, encrypt);
      EXPECT_TRUE(s == Reference(clear, encrypt)) << "cut at " << cut;
    }
  }
}

using PayloadHeavyTest = SandboxTest;

TEST_F(PayloadHeavyTest, UnscramblingOneGibibyteGrowsMemoryByLessThan16MiB) {
  constexpr off_t kSize = off_t(1) << 30;
  const std::string path = At("big.bin");
  // Zeros but for the last two bytes, without writing them all.
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ASSERT_TRUE(fd >= 0 && ftruncate(fd, kSize) == 0 && pwrite(fd, "\x01\x02", 2, kSize - 2) == 2);
  close(fd);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(RunBounded(30, 16, [&] {
              ViewConst::EncryptDecryptFileEnd(path, false);
              return std::string();
            }),
            "");
  std::cout << "[ measured ] 1 GiB unscrambled in "
            << std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() << " s\n";

  // The zeros at odd offsets became 0xFF; the last two bytes 0x01, 0x01.
  EXPECT_EQ(fs::file_size(path), static_cast<uintmax_t>(kSize));
  unsigned char head[4], tail[2];
  const int in = open(path.c_str(), O_RDONLY);
  ASSERT_TRUE(in >= 0 && pread(in, head, 4, 0) == 4 && pread(in, tail, 2, kSize - 2) == 2);
  close(in);
  EXPECT_EQ(std::string(head, head + 4), std::string("\x00\xFF\x00\xFF", 4));
  EXPECT_EQ(std::string(tail, tail + 2), std::string("\x01\x01", 2));
  fs::remove(path);
}

}  // namespace
}  // namespace ostrel::test
