// Reading a zip archive's central directory: the end record (zip64 too) and
// every entry's record, with each count, size and offset checked against the
// file before anything is allocated or read on its word.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel {

// One entry as the central directory describes it; sizes and offset are the
// zip64 ones where the record defers to its extra field.
struct ZipRecord {
  std::string name;  // raw bytes as stored
  uint8_t system = 0;  // high byte of "version made by": 0 DOS, 3 Unix
  uint16_t flags = 0, method = 0;
  uint32_t dosDateTime = 0;  // date in the high half, time in the low
  uint32_t crc = 0, externalAttributes = 0;
  uint64_t compressedSize = 0, size = 0, localOffset = 0;
  bool hasUnixTime = false;  // the extended timestamp field gave a time
  int64_t unixTime = 0;
  // The UTF-8 name of an Info-ZIP Unicode Path field whose checksum matches
  // the stored name; empty without one.
  std::string unicodeName;
};

struct ZipDirectory {
  enum Status {
    Ok,
    Unreadable,  // no end record where one belongs, or a layout this reader leaves to the general one
    Damaged,     // an end record whose claims the file cannot hold
  };
  Status status = Unreadable;
  std::string why;  // for Damaged: completes "it is damaged or not a zip archive (...)"
  uint64_t fileSize = 0, directoryOffset = 0;
  std::vector<ZipRecord> records;
};

// Reads the directory of the open archive `fd` of `fileSize` bytes. Strict,
// it takes only the common layout (the directory, then the end record as the
// file's last bytes); `lenient` also takes data in front of the archive (the
// offsets are moved by it), behind it, and behind the records, as the
// general reader does.
ZipDirectory ReadZipDirectory(int fd, uint64_t fileSize, bool lenient = false);

// Opens the archive at `path` and reads its directory leniently; empty, or
// why it cannot be read (a phrase that completes "could not be expanded: ").
std::string ReadZipFileDirectory(const std::string& path, ZipDirectory& dir);

// Reads exactly `size` bytes at `offset`; false on a short read or an error.
bool ReadAt(int fd, uint64_t offset, void* buffer, size_t size);

// Little-endian fields.
inline uint16_t Le16(const unsigned char* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint32_t Le32(const unsigned char* p) { return Le16(p) | static_cast<uint32_t>(Le16(p + 2)) << 16; }
inline uint64_t Le64(const unsigned char* p) { return Le32(p) | static_cast<uint64_t>(Le32(p + 4)) << 32; }

}  // namespace ostrel
