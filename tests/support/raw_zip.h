// Zip archives forged byte by byte, for what a well-behaved writer will not
// produce: names in any bytes, modes of any type, and headers that lie about
// sizes, checksums, offsets, methods or the number of entries.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::test {

struct RawEntry {
  std::string name;     // the bytes as stored, in the local header and the directory alike
  std::string content;  // the true bytes
  bool deflate = false;  // else stored
  // The high half of the external attributes ("made by" Unix): type and mode.
  uint32_t unixMode = 0100644;
  uint16_t flags = 0;  // 0x0800: the name is UTF-8; 0x0001: encrypted
  uint8_t system = 3;  // "made by": 3 Unix, 0 MS-DOS or Windows
  std::string extra;   // extra fields, in the local header and the directory alike
  std::optional<uint16_t> method = {};  // written in place of the true one
  // What both headers claim in place of the truth.
  std::optional<uint64_t> claimedSize = {}, claimedCompressedSize = {}, claimedLocalOffset = {};
  std::optional<uint32_t> claimedCrc = {};
};

struct RawLayout {
  std::optional<uint64_t> claimedEntries = {};  // in the end record
  bool zip64 = false;                      // a zip64 end record carries the totals
};

// Regular-file, folder and link modes as a Unix zip tool stores them.
constexpr uint32_t kFileMode = 0100644, kFolderMode = 0040755, kLinkMode = 0120777;

// Entries as a Unix zip tool writes them; Packed is a deflated file.
RawEntry File(std::string name, std::string content, uint32_t mode = kFileMode);
RawEntry Packed(std::string name, std::string content);
RawEntry Folder(std::string name, uint32_t mode = kFolderMode);
RawEntry Link(std::string name, std::string target);

// An Info-ZIP Unicode Path extra field giving `utf8` as the name of an entry
// stored as `storedName` (a checksum of another name marks a stale field).
std::string UnicodePathField(const std::string& storedName, const std::string& utf8);

// The archive's bytes.
std::string BuildRawZip(const std::vector<RawEntry>& entries, const RawLayout& layout = {});

}  // namespace ostrel::test
