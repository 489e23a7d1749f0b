// Zip archives written byte by byte, so that a test can make one lie about
// its sizes, checksums, offsets or number of entries.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::test {

struct LyingEntry {
  std::string name;
  std::string content;      // the true bytes
  bool deflate = true;      // else stored
  uint32_t mode = 0100644;  // the Unix mode in the external attributes
  int64_t mtime = 0;        // written as an extended timestamp when not 0
  uint16_t flags = 0;
  std::optional<uint16_t> method = {};  // written in place of the true one
  // What the headers claim in place of the truth.
  std::optional<uint64_t> claimedSize = {}, claimedCompressedSize = {}, claimedLocalOffset = {};
  std::optional<uint32_t> claimedCrc = {};
};

struct LyingLayout {
  std::optional<uint64_t> claimedEntries;  // in the end record
  bool zip64 = false;                      // a zip64 end record carries the totals
};

std::string LyingZip(const std::vector<LyingEntry>& entries, const LyingLayout& layout = {});

}  // namespace ostrel::test
