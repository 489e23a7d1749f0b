// Zip archives forged byte by byte, for the cases that a well-behaved writer
// will not produce: names in any bytes, modes of any type, sizes and offsets
// that lie, directory records that share one entry's data, counts that
// cannot be true.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::test {

struct RawEntry {
  std::string name;  // the bytes as stored, in the local header and the directory alike
  std::string content;
  bool deflate = false;
  // The high half of the external attributes ("made by" Unix): type and mode.
  uint32_t unixMode = 0100644;
  uint16_t flags = 0;  // 0x0800: the name is UTF-8
  // What the directory claims, when it lies; the local header tells the truth.
  std::optional<uint32_t> claimedSize, claimedCompressedSize, claimedCrc;
  // When set, no local header or data is written for this entry: its
  // directory record points at the local header of entry `sharesDataOf`.
  std::optional<size_t> sharesDataOf;
};

// Regular-file, folder and link modes as a Unix zip tool stores them.
constexpr uint32_t kFileMode = 0100644, kFolderMode = 0040755, kLinkMode = 0120777;

// Entries as a Unix zip tool writes them.
RawEntry File(std::string name, std::string content, uint32_t mode = kFileMode);
RawEntry Folder(std::string name, uint32_t mode = kFolderMode);
RawEntry Link(std::string name, std::string target);

// The archive's bytes.
std::string BuildRawZip(const std::vector<RawEntry>& entries);

// An archive whose zip64 end record claims `claimed` entries for a directory
// that holds the one record written. `spanned` also makes the record's
// count for this disc differ from the total, as a set of discs would.
std::string BuildZipClaimingEntries(uint64_t claimed, bool spanned);

// Deflates `data` (raw deflate, as zip stores it).
std::string Deflate(const std::string& data);

// Little-endian fields as zip stores them, and the CRC-32 of a content.
void Put16(std::string& out, uint32_t v);
void Put32(std::string& out, uint32_t v);
void Put64(std::string& out, uint64_t v);
uint32_t Crc(const std::string& data);

}  // namespace ostrel::test
