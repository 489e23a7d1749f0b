#include "payload/zip/zip_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <libdeflate.h>

namespace ostrel {
namespace {

constexpr uint32_t kEndSignature = 0x06054b50, kLocatorSignature = 0x07064b50;
constexpr uint32_t kEnd64Signature = 0x06064b50, kRecordSignature = 0x02014b50;
constexpr size_t kEndSize = 22, kLocatorSize = 20, kEnd64Size = 56, kRecordSize = 46;
constexpr size_t kMaxComment = 65535;

ZipDirectory Fail(ZipDirectory::Status status, std::string why = {}) {
  ZipDirectory d;
  d.status = status;
  d.why = std::move(why);
  return d;
}

// The totals of the end record, zip64 or plain.
struct EndRecord {
  uint64_t disk = 0, directoryDisk = 0, entriesHere = 0, entries = 0, size = 0, offset = 0;
  uint64_t position = 0;  // where the directory must end: the first end record
};

// Fills the fields that the record defers to the zip64 extra field, in
// their fixed order. False when a deferred field is missing.
bool ApplyZip64(ZipRecord& r, const unsigned char* p, size_t n, bool wantSize, bool wantCompressed, bool wantOffset) {
  size_t at = 0;
  auto take = [&](uint64_t& field) {
    if (at + 8 > n) return false;
    field = Le64(p + at);
    at += 8;
    return true;
  };
  return (!wantSize || take(r.size)) && (!wantCompressed || take(r.compressedSize)) && (!wantOffset || take(r.localOffset));
}

bool ParseExtra(ZipRecord& r, const unsigned char* p, size_t n, bool wantSize, bool wantCompressed, bool wantOffset) {
  bool zip64Done = !(wantSize || wantCompressed || wantOffset);
  while (n >= 4) {
    const uint16_t id = Le16(p), size = Le16(p + 2);
    if (size > n - 4) return false;
    const unsigned char* data = p + 4;
    if (id == 0x0001) {
      if (!ApplyZip64(r, data, size, wantSize, wantCompressed, wantOffset)) return false;
      zip64Done = true;
    } else if (id == 0x5455 && size >= 5 && (data[0] & 1)) {
      r.hasUnixTime = true;
      r.unixTime = static_cast<int32_t>(Le32(data + 1));
    } else if (id == 0x7075 && size >= 5 && data[0] == 1 &&
               Le32(data + 1) == libdeflate_crc32(0, r.name.data(), r.name.size())) {
      // A field whose checksum does not match belongs to an older name: a
      // tool renamed the entry without knowing the field.
      r.unicodeName.assign(reinterpret_cast<const char*>(data + 5), size - 5u);
    }
    p += 4 + size;
    n -= 4 + size;
  }
  return zip64Done;
}

// Finds the end record: it must close the file exactly, behind its comment.
bool FindEnd(int fd, uint64_t fileSize, bool lenient, EndRecord& end, ZipDirectory& fail) {
  const size_t tail = static_cast<size_t>(std::min<uint64_t>(fileSize, kEndSize + kMaxComment));
  std::vector<unsigned char> buf(tail);
  if (tail < kEndSize || !ReadAt(fd, fileSize - tail, buf.data(), tail)) return false;
  for (size_t at = tail - kEndSize + 1; at-- > 0;) {
    const unsigned char* p = buf.data() + at;
    const size_t ends = at + kEndSize + Le16(p + 20);
    if (Le32(p) != kEndSignature || (lenient ? ends > tail : ends != tail)) continue;
    end.position = fileSize - tail + at;
    end.disk = Le16(p + 4);
    end.directoryDisk = Le16(p + 6);
    end.entriesHere = Le16(p + 8);
    end.entries = Le16(p + 10);
    end.size = Le32(p + 12);
    end.offset = Le32(p + 16);
    const bool deferred = end.entries == 0xFFFF || end.size == 0xFFFFFFFF || end.offset == 0xFFFFFFFF;
    // Bytes that look like a locator may end the last directory record (an
    // extra field, a name): they count only where the end record defers to
    // zip64, or where they lead to a real zip64 end record.
    unsigned char loc[kLocatorSize], e[kEnd64Size];
    const bool locator = end.position >= kLocatorSize && ReadAt(fd, end.position - kLocatorSize, loc, kLocatorSize) &&
                         Le32(loc) == kLocatorSignature;
    const bool spanned = locator && (Le32(loc + 4) != 0 || Le32(loc + 16) > 1);
    const uint64_t at64 = locator ? Le64(loc + 8) : 0;
    const bool real = locator && !spanned && end.position >= kLocatorSize + kEnd64Size &&
                      at64 <= end.position - kLocatorSize - kEnd64Size && ReadAt(fd, at64, e, kEnd64Size) &&
                      Le32(e) == kEnd64Signature;
    if (!real) {
      if (!deferred) return true;
      if (spanned) return false;  // spanned over several discs
      fail = Fail(ZipDirectory::Damaged, locator ? "its zip64 end record is not where its locator says"
                                                 : "its zip64 end record is missing");
      return false;
    }
    EndRecord wide{Le32(e + 16), Le32(e + 20), Le64(e + 24), Le64(e + 32), Le64(e + 40), Le64(e + 48), at64};
    // The plain fields either defer to the wide ones or agree with them.
    if ((end.entries != 0xFFFF && end.entries != wide.entries) || (end.size != 0xFFFFFFFF && end.size != wide.size) ||
        (end.offset != 0xFFFFFFFF && end.offset != wide.offset))
      return false;
    end = wide;
    return true;
  }
  return false;
}

}  // namespace

bool ReadAt(int fd, uint64_t offset, void* buffer, size_t size) {
  auto* p = static_cast<unsigned char*>(buffer);
  while (size > 0) {
    const ssize_t n = pread(fd, p, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    offset += static_cast<uint64_t>(n);
    size -= static_cast<size_t>(n);
  }
  return true;
}

ZipDirectory ReadZipDirectory(int fd, uint64_t fileSize, bool lenient) {
  EndRecord end;
  ZipDirectory fail;
  if (!FindEnd(fd, fileSize, lenient, end, fail)) return fail;
  if (end.disk != 0 || end.directoryDisk != 0 || end.entriesHere != end.entries) return Fail(ZipDirectory::Unreadable);
  if (end.size > end.position || end.offset > end.position - end.size)
    return Fail(ZipDirectory::Damaged, "its directory lies beyond the end of the file");
  // Data in front of the archive (a self-extractor) shifts every offset.
  uint64_t shift = 0;
  if (end.offset + end.size != end.position) {
    if (!lenient) return Fail(ZipDirectory::Unreadable);
    shift = end.position - end.size - end.offset;
    end.offset += shift;
  }
  // Every record takes 46 bytes at least: a count beyond that is a lie, and
  // is caught before anything is reserved for it.
  if (end.entries > end.size / kRecordSize)
    return Fail(ZipDirectory::Damaged, "it claims " + std::to_string(end.entries) + " entries in a directory of " +
                                           std::to_string(end.size) + " bytes");

  std::vector<unsigned char> dir(static_cast<size_t>(end.size));
  if (!ReadAt(fd, end.offset, dir.data(), dir.size())) return Fail(ZipDirectory::Damaged, "its directory cannot be read");
  ZipDirectory d;
  d.fileSize = fileSize;
  d.directoryOffset = end.offset;
  d.records.reserve(static_cast<size_t>(end.entries));
  size_t at = 0;
  for (uint64_t i = 0; i < end.entries; ++i) {
    const unsigned char* p = dir.data() + at;
    if (dir.size() - at < kRecordSize || Le32(p) != kRecordSignature)
      return Fail(ZipDirectory::Damaged, "its directory holds fewer entries than it claims");
    const size_t nameLen = Le16(p + 28), extraLen = Le16(p + 30), commentLen = Le16(p + 32);
    if (dir.size() - at - kRecordSize < nameLen + extraLen + commentLen)
      return Fail(ZipDirectory::Damaged, "its directory is cut short");
    ZipRecord r;
    r.system = static_cast<uint8_t>(Le16(p + 4) >> 8);
    r.flags = Le16(p + 8);
    r.method = Le16(p + 10);
    r.dosDateTime = static_cast<uint32_t>(Le16(p + 14)) << 16 | Le16(p + 12);
    r.crc = Le32(p + 16);
    r.compressedSize = Le32(p + 20);
    r.size = Le32(p + 24);
    r.externalAttributes = Le32(p + 38);
    r.localOffset = Le32(p + 42);
    r.name.assign(reinterpret_cast<const char*>(p + kRecordSize), nameLen);
    if (Le16(p + 34) != 0 && Le16(p + 34) != 0xFFFF) return Fail(ZipDirectory::Unreadable);  // on another disc
    if (!ParseExtra(r, p + kRecordSize + nameLen, extraLen, r.size == 0xFFFFFFFF, r.compressedSize == 0xFFFFFFFF,
                    r.localOffset == 0xFFFFFFFF))
      return Fail(ZipDirectory::Damaged, "the directory record of \"" + r.name + "\" is malformed");
    r.localOffset += shift;
    d.records.push_back(std::move(r));
    at += kRecordSize + nameLen + extraLen + commentLen;
  }
  // Anything behind the records (a signature block, say) is left to the general reader.
  if (at != dir.size() && !lenient) return Fail(ZipDirectory::Unreadable);
  d.status = ZipDirectory::Ok;
  return d;
}

std::string ReadZipFileDirectory(const std::string& path, ZipDirectory& dir) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat st;
  if (fd < 0 || fstat(fd, &st) != 0) {
    const std::string why = std::string("it cannot be read (") + std::strerror(errno) + ")";
    if (fd >= 0) close(fd);
    return why;
  }
  dir = ReadZipDirectory(fd, static_cast<uint64_t>(st.st_size), true);
  close(fd);
  if (dir.status == ZipDirectory::Ok) return {};
  return "it is damaged or not a zip archive" + (dir.why.empty() ? std::string() : " (" + dir.why + ")");
}

}  // namespace ostrel
