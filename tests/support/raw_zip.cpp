#include "support/raw_zip.h"

#include <zlib.h>

#include <stdexcept>

namespace ostrel::test {
namespace {

void Put16(std::string& out, uint64_t v) {
  out += static_cast<char>(v & 0xFF);
  out += static_cast<char>((v >> 8) & 0xFF);
}
void Put32(std::string& out, uint64_t v) {
  Put16(out, v & 0xFFFF);
  Put16(out, (v >> 16) & 0xFFFF);
}
void Put64(std::string& out, uint64_t v) {
  Put32(out, v & 0xFFFFFFFF);
  Put32(out, v >> 32);
}

uint32_t Crc(const std::string& data) {
  return static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

// Raw deflate, as zip stores it.
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

}  // namespace

RawEntry File(std::string name, std::string content, uint32_t mode) {
  return {.name = std::move(name), .content = std::move(content), .unixMode = mode};
}
RawEntry Packed(std::string name, std::string content) {
  return {.name = std::move(name), .content = std::move(content), .deflate = true};
}
RawEntry Folder(std::string name, uint32_t mode) { return File(std::move(name), {}, mode); }
RawEntry Link(std::string name, std::string target) { return File(std::move(name), std::move(target), kLinkMode); }

std::string UnicodePathField(const std::string& storedName, const std::string& utf8) {
  std::string field;
  Put16(field, 0x7075);
  Put16(field, 5 + utf8.size());
  field += '\1';
  Put32(field, Crc(storedName));
  return field + utf8;
}

std::string BuildRawZip(const std::vector<RawEntry>& entries, const RawLayout& layout) {
  std::string zip, directory;
  for (const RawEntry& e : entries) {
    const std::string data = e.deflate ? Deflate(e.content) : e.content;
    const uint32_t crc = e.claimedCrc.value_or(Crc(e.content));
    const uint64_t size = e.claimedSize.value_or(e.content.size());
    const uint64_t packed = e.claimedCompressedSize.value_or(data.size());
    const uint16_t method = e.method.value_or(e.deflate ? 8 : 0);
    const uint64_t offset = e.claimedLocalOffset.value_or(zip.size());
    // The local header, then the directory record: the same fields, from the
    // version needed on; 1980-01-01 00:00 as the time.
    std::string common;
    Put16(common, 20);
    Put16(common, e.flags);
    Put16(common, method);
    Put32(common, 0x00210000);
    Put32(common, crc);
    Put32(common, packed);
    Put32(common, size);
    Put16(common, e.name.size());
    Put16(common, e.extra.size());

    Put32(zip, 0x04034b50);
    zip += common + e.name + e.extra + data;

    Put32(directory, 0x02014b50);
    Put16(directory, e.system << 8 | 20);
    directory += common;
    Put16(directory, 0);
    Put16(directory, 0);
    Put16(directory, 0);
    Put32(directory, static_cast<uint64_t>(e.unixMode) << 16);
    Put32(directory, offset);
    directory += e.name + e.extra;
  }
  const uint64_t directoryOffset = zip.size();
  zip += directory;
  const uint64_t count = layout.claimedEntries.value_or(entries.size());
  if (layout.zip64) {
    const uint64_t end64 = zip.size();
    Put32(zip, 0x06064b50);
    Put64(zip, 44);
    Put16(zip, 45);
    Put16(zip, 45);
    Put32(zip, 0);
    Put32(zip, 0);
    Put64(zip, count);
    Put64(zip, count);
    Put64(zip, directory.size());
    Put64(zip, directoryOffset);
    Put32(zip, 0x07064b50);
    Put32(zip, 0);
    Put64(zip, end64);
    Put32(zip, 1);
  }
  Put32(zip, 0x06054b50);
  Put16(zip, 0);
  Put16(zip, 0);
  Put16(zip, layout.zip64 ? 0xFFFF : count);
  Put16(zip, layout.zip64 ? 0xFFFF : count);
  Put32(zip, layout.zip64 ? 0xFFFFFFFF : directory.size());
  Put32(zip, layout.zip64 ? 0xFFFFFFFF : directoryOffset);
  Put16(zip, 0);
  return zip;
}

}  // namespace ostrel::test
