// Unscrambling streams: a payload of 1 GiB goes through in bounded memory and
// in seconds. Heavy on the disc; leave it out with --gtest_filter=-*Heavy*.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "payload/archives.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

class PayloadHeavyTest : public SandboxTest {};

TEST_F(PayloadHeavyTest, UnscramblingOneGibibyteStaysUnder64MiB) {
  constexpr off_t kSize = off_t(1) << 30;
  const std::string path = At("big.bin");
  int report[2];
  ASSERT_EQ(pipe(report), 0);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The child measures its own peak, so the test runner's memory does not count.
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || ftruncate(fd, kSize) != 0 || pwrite(fd, "\x01\x02", 2, kSize - 2) != 2) _exit(3);
    close(fd);
    ViewConst::EncryptDecryptFileEnd(path, false);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const long peakKiB = usage.ru_maxrss;
    [[maybe_unused]] auto w = write(report[1], &peakKiB, sizeof peakKiB);
    _exit(0);
  }
  close(report[1]);
  long peakKiB = -1;
  [[maybe_unused]] auto r = read(report[0], &peakKiB, sizeof peakKiB);
  close(report[0]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  EXPECT_GT(peakKiB, 0);
  EXPECT_LT(peakKiB, 64 * 1024) << "peak resident size in KiB";
  EXPECT_LT(seconds, 30.0);

  // The zeros at odd offsets became 0xFF; the last two bytes 0x01, 0x01.
  const int fd = open(path.c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  unsigned char head[4], tail[2];
  ASSERT_EQ(pread(fd, head, 4, 0), 4);
  ASSERT_EQ(pread(fd, tail, 2, kSize - 2), 2);
  close(fd);
  EXPECT_EQ(fs::file_size(path), static_cast<uintmax_t>(kSize));
  EXPECT_EQ(head[0], 0x00);
  EXPECT_EQ(head[1], 0xFF);
  EXPECT_EQ(head[3], 0xFF);
  EXPECT_EQ(tail[0], 0x01);
  EXPECT_EQ(tail[1], 0x01);
  fs::remove(path);
  std::cout << "[ measured ] 1 GiB unscrambled in " << seconds << " s, peak " << peakKiB / 1024 << " MiB\n";
}

}  // namespace
}  // namespace ostrel::test
