// An unscrambling killed at any moment leaves the payload whole: exactly
// its old bytes or exactly its new ones, never a mix. What a kill leaves
// beside it is a partial new copy under a name of its own, which a later
// run neither needs nor trips over.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <thread>

#include "framework/file_copy.h"
#include "framework/own_files.h"
#include "payload/archives.h"
#include "payload/byte_step.h"
#include "support/forked_child.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t kSize = size_t(16) << 20;

std::string Unscrambled(std::string bytes) {
  ApplyByteStep(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), false, false);
  return bytes;
}

class FaultKilledUnscrambleTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    path = At("box/payload");
    current = RandomBytes(kSize, 20240601);
    WriteFile(path, current);
  }

  // With a size limit, the system kills the child the moment a file it
  // writes would grow past it: a kill at an exact point of the new copy.
  pid_t StartUnscrambling(rlim_t sizeLimit = RLIM_INFINITY) {
    return StartChild({}, [&] {
      const rlimit limit{sizeLimit, sizeLimit};
      if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || prctl(PR_SET_DUMPABLE, 0) != 0) return 98;  // no core dump
      ViewConst::EncryptDecryptFileEnd(path, false);
      return 0;
    });
  }

  // Every item beside the payload but the payload itself, with its size.
  std::map<std::string, uintmax_t> Beside() const {
    std::map<std::string, uintmax_t> items;
    std::error_code ec;
    for (auto it = fs::directory_iterator(At("box"), ec); !ec && it != fs::directory_iterator(); it.increment(ec))
      if (it->path() != path) items[it->path().filename().string()] = fs::file_size(it->path(), ec);
    return items;
  }

  // After a kill: the payload is the old or the new, and anything new
  // beside it is a beginning of the new bytes. The payload then counts as
  // what it has become.
  void CheckRound(const std::string& context, const std::map<std::string, uintmax_t>& before) {
    SCOPED_TRACE(context);
    const std::string next = Unscrambled(current);
    std::string now = ReadFile(path);
    const bool old = now == current, renewed = now == next;
    EXPECT_TRUE(old || renewed) << "the payload holds " << now.size() << " bytes that are neither";
    (renewed ? newRounds : oldRounds)++;
    for (const auto& [name, size] : Beside()) {
      if (before.count(name)) continue;
      // Whatever it holds (two threads write its pieces in no set order),
      // nothing reads it but the removal of a later run.
      EXPECT_TRUE(fw::IsOwnName(name) && name.ends_with(fw::kPartSuffix)) << name;
      EXPECT_LE(size, kSize);
      ++leftovers;
    }
    current = std::move(now);
  }

  std::string path, current;
  int oldRounds = 0, newRounds = 0, leftovers = 0;
};

TEST_F(FaultKilledUnscrambleTest, AKillAtAnyMomentLeavesTheOldBytesOrTheNew) {
  // One whole run tells how long the work takes here.
  const auto start = Clock::now();
  const ChildEnd whole = WaitForChild(StartUnscrambling());
  const auto full = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  ASSERT_TRUE(whole.exited && whole.code == 0);
  current = Unscrambled(std::move(current));
  ASSERT_TRUE(ReadFile(path) == current);

  // Kills at random moments across the whole run, its start and its rename too.
  std::mt19937 gen(7);
  for (int round = 0; round < 8; ++round) {
    const auto before = Beside();
    const auto delay = std::chrono::microseconds(
        std::uniform_int_distribution<int64_t>(0, full.count() * 6 / 5)(gen));
    const pid_t pid = StartUnscrambling();
    ASSERT_GT(pid, 0);
    std::this_thread::sleep_for(delay);
    kill(pid, SIGKILL);
    WaitForChild(pid);
    CheckRound("killed after " + std::to_string(delay.count()) + " us", before);
  }
  // Kills while the new copy is being written, at a quarter, a half and
  // three quarters of it.
  for (size_t part : {1, 2, 3}) {
    const auto before = Beside();
    const ChildEnd end = WaitForChild(StartUnscrambling(kSize * part / 4));
    EXPECT_EQ(end.signal, SIGXFSZ);
    CheckRound("killed once the new copy held " + std::to_string(part) + "/4", before);
  }
  EXPECT_GE(leftovers, 3);  // the kills did land half-way
  EXPECT_GE(oldRounds, 3);

  // A later run works as if nothing had happened, leftovers or not, and
  // adds none of its own.
  const auto before = Beside();
  ViewConst::EncryptDecryptFileEnd(path, false);
  EXPECT_TRUE(ReadFile(path) == Unscrambled(current));
  for (const auto& [name, size] : Beside()) EXPECT_TRUE(before.count(name)) << name << " was left by the later run";
}

}  // namespace
}  // namespace ostrel::test
