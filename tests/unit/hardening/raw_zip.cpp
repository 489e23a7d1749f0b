#include "raw_zip.h"

#include <zlib.h>

#include <stdexcept>

namespace ostrel::test {
namespace {

constexpr uint16_t kDosTime = 0x6000;  // 12:00:00
constexpr uint16_t kDosDate = 0x5821;  // 2024-01-01


void PutEnd(std::string& out, uint64_t entries, uint64_t directorySize, uint64_t directoryOffset) {
  Put32(out, 0x06054b50);
  Put16(out, 0);
  Put16(out, 0);
  Put16(out, static_cast<uint32_t>(entries));
  Put16(out, static_cast<uint32_t>(entries));
  Put32(out, static_cast<uint32_t>(directorySize));
  Put32(out, static_cast<uint32_t>(directoryOffset));
  Put16(out, 0);
}

}  // namespace

void Put16(std::string& out, uint32_t v) {
  out += static_cast<char>(v & 0xFF);
  out += static_cast<char>((v >> 8) & 0xFF);
}
void Put32(std::string& out, uint32_t v) {
  Put16(out, v & 0xFFFF);
  Put16(out, v >> 16);
}
void Put64(std::string& out, uint64_t v) {
  Put32(out, static_cast<uint32_t>(v));
  Put32(out, static_cast<uint32_t>(v >> 32));
}

uint32_t Crc(const std::string& data) {
  return static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

RawEntry File(std::string name, std::string content, uint32_t mode) {
  RawEntry e;
  e.name = std::move(name);
  e.content = std::move(content);
  e.unixMode = mode;
  return e;
}

RawEntry Folder(std::string name, uint32_t mode) { return File(std::move(name), {}, mode); }

RawEntry Link(std::string name, std::string target) { return File(std::move(name), std::move(target), kLinkMode); }

std::string Deflate(const std::string& data) {
  z_stream z{};
  if (deflateInit2(&z, 9, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) throw std::runtime_error("deflate");
  std::string out(deflateBound(&z, data.size()), '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  z.avail_in = static_cast<uInt>(data.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  const int rc = deflate(&z, Z_FINISH);
  deflateEnd(&z);
  if (rc != Z_STREAM_END) throw std::runtime_error("deflate");
  out.resize(z.total_out);
  return out;
}

std::string BuildRawZip(const std::vector<RawEntry>& entries) {
  std::string out;
  struct Written {
    uint32_t offset, crc, compressedSize, size;
    uint16_t method;
  };
  std::vector<Written> written;
  for (const RawEntry& e : entries) {
    if (e.sharesDataOf) {
      written.push_back(written.at(*e.sharesDataOf));
      continue;
    }
    const std::string data = e.deflate ? Deflate(e.content) : e.content;
    const Written w{static_cast<uint32_t>(out.size()), Crc(e.content), static_cast<uint32_t>(data.size()),
                    static_cast<uint32_t>(e.content.size()), static_cast<uint16_t>(e.deflate ? 8 : 0)};
    Put32(out, 0x04034b50);
    Put16(out, 20);
    Put16(out, e.flags);
    Put16(out, w.method);
    Put16(out, kDosTime);
    Put16(out, kDosDate);
    Put32(out, w.crc);
    Put32(out, w.compressedSize);
    Put32(out, w.size);
    Put16(out, static_cast<uint32_t>(e.name.size()));
    Put16(out, 0);
    out += e.name;
    out += data;
    written.push_back(w);
  }
  const uint64_t directoryOffset = out.size();
  for (size_t i = 0; i < entries.size(); ++i) {
    const RawEntry& e = entries[i];
    const Written& w = written[i];
    Put32(out, 0x02014b50);
    Put16(out, 3 << 8 | 20);  // made by Unix
    Put16(out, 20);
    Put16(out, e.flags);
    Put16(out, w.method);
    Put16(out, kDosTime);
    Put16(out, kDosDate);
    Put32(out, e.claimedCrc.value_or(w.crc));
    Put32(out, e.claimedCompressedSize.value_or(w.compressedSize));
    Put32(out, e.claimedSize.value_or(w.size));
    Put16(out, static_cast<uint32_t>(e.name.size()));
    Put16(out, 0);
    Put16(out, 0);
    Put16(out, 0);
    Put16(out, 0);
    Put32(out, e.unixMode << 16);
    Put32(out, w.offset);
    out += e.name;
  }
  PutEnd(out, entries.size(), out.size() - directoryOffset, directoryOffset);
  return out;
}

std::string BuildZipClaimingEntries(uint64_t claimed, bool spanned) {
  std::string out = BuildRawZip({File("one.txt", "one")});
  // Keep the local header and the one directory record; replace the end.
  const size_t directoryOffset = out.rfind(std::string("PK\x01\x02", 4));
  out.resize(out.size() - 22);
  const uint64_t directorySize = out.size() - directoryOffset;
  const uint64_t end64 = out.size();
  Put32(out, 0x06064b50);
  Put64(out, 44);
  Put16(out, 3 << 8 | 45);
  Put16(out, 45);
  Put32(out, 0);
  Put32(out, 0);
  Put64(out, spanned ? 1 : claimed);
  Put64(out, claimed);
  Put64(out, directorySize);
  Put64(out, directoryOffset);
  Put32(out, 0x07064b50);
  Put32(out, 0);
  Put64(out, end64);
  Put32(out, 1);
  Put32(out, 0x06054b50);
  Put16(out, 0);
  Put16(out, 0);
  Put16(out, 0xFFFF);
  Put16(out, 0xFFFF);
  Put32(out, 0xFFFFFFFF);
  Put32(out, 0xFFFFFFFF);
  Put16(out, 0);
  return out;
}

}  // namespace ostrel::test
