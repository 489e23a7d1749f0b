#include "unit/faults/faults_fixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

#include "payload/byte_step.h"

namespace ostrel::test {

std::vector<Variant> Truncations(const std::string& good, const std::vector<size_t>& lengths) {
  std::vector<Variant> out;
  for (size_t n : lengths)
    if (n < good.size())
      out.push_back({good.substr(0, n), "cut at " + std::to_string(n) + " of " + std::to_string(good.size())});
  return out;
}

std::vector<size_t> SpreadLengths(size_t size, size_t steps) {
  std::vector<size_t> lengths = {0, 1, 2, 3, size - 3, size - 2, size - 1};
  for (size_t i = 1; i < steps; ++i) lengths.push_back(size * i / steps);
  return lengths;
}

std::vector<Variant> RandomDamage(const std::string& good, unsigned seed, int count, int most, size_t focus) {
  std::mt19937 gen(seed);
  std::vector<Variant> out;
  if (good.empty()) return out;
  focus = std::min(focus, good.size() - 1);
  for (int i = 0; i < count; ++i) {
    Variant v{good, "seed " + std::to_string(seed) + " #" + std::to_string(i) + ":"};
    const size_t from = i % 2 ? focus : 0;
    const int bytes = std::uniform_int_distribution<int>(1, most)(gen);
    for (int k = 0; k < bytes; ++k) {
      const size_t at = std::uniform_int_distribution<size_t>(from, good.size() - 1)(gen);
      v.bytes[at] = static_cast<char>(gen());
      v.what += " " + std::to_string(at);
    }
    out.push_back(std::move(v));
  }
  return out;
}

size_t FindInScrambled(const std::string& scrambled, const std::string& needle) {
  std::string clear = scrambled;
  ApplyByteStep(reinterpret_cast<unsigned char*>(clear.data()), clear.size(), false, false);
  return clear.find(needle);
}

std::unique_ptr<OstrelStubWindow> ReadyToInstall() {
  auto window = std::make_unique<OstrelStubWindow>();
  EXPECT_TRUE(window->ReadData());
  window->fPromptToReplace = false;
  window->fExecuteAfterName.clear();
  return window;
}

}  // namespace ostrel::test
