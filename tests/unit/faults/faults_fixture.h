// What the fault tests share: small volumes that run out of room on
// purpose, seeded damage of a file's bytes, and a main window ready to
// install from a sandbox bundle.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/ostrel_stub_window.h"
#include "support/small_volumes.h"

namespace ostrel::test {

// One damaged copy of a file's bytes, and how it was damaged.
struct Variant {
  std::string bytes;
  std::string what;
};
// The file cut at each length given that is shorter than the file.
std::vector<Variant> Truncations(const std::string& good, const std::vector<size_t>& lengths);
// Lengths all along a file of `size` bytes, in `steps` even steps, and the
// very shortest and longest cuts.
std::vector<size_t> SpreadLengths(size_t size, size_t steps);
// `count` copies with 1 to `most` bytes each replaced by random ones, from
// a fixed seed. Half the copies take their bytes from [focus, end) only,
// where a format keeps its most telling structures.
std::vector<Variant> RandomDamage(const std::string& good, unsigned seed, int count, int most, size_t focus = 0);

// The first offset of `needle` in the clear (unscrambled) bytes, or npos.
size_t FindInScrambled(const std::string& scrambled, const std::string& needle);

// A main window that has read the record of the bundle the platform's
// executable lies in, ready for ExpandFolder: no question before
// replacing, no after-program.
std::unique_ptr<OstrelStubWindow> ReadyToInstall();

}  // namespace ostrel::test
