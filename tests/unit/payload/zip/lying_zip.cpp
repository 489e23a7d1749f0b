#include "lying_zip.h"

#include "unit/hardening/raw_zip.h"

namespace ostrel::test {

std::string LyingZip(const std::vector<LyingEntry>& entries, const LyingLayout& layout) {
  std::string zip, directory;
  for (const LyingEntry& e : entries) {
    const std::string data = e.deflate ? Deflate(e.content) : e.content;
    const uint32_t crc = e.claimedCrc.value_or(Crc(e.content));
    const uint64_t size = e.claimedSize.value_or(e.content.size());
    const uint64_t packed = e.claimedCompressedSize.value_or(data.size());
    const uint16_t method = e.method.value_or(e.deflate ? 8 : 0);
    const uint64_t offset = e.claimedLocalOffset.value_or(zip.size());
    std::string extra;
    if (e.mtime != 0) {
      Put16(extra, 0x5455);
      Put16(extra, 5);
      extra += '\x01';
      Put32(extra, static_cast<uint64_t>(e.mtime));
    }

    Put32(zip, 0x04034b50);
    Put16(zip, 20);
    Put16(zip, e.flags);
    Put16(zip, method);
    Put32(zip, 0x00210000);  // 1980-01-01 00:00
    Put32(zip, crc);
    Put32(zip, packed);
    Put32(zip, size);
    Put16(zip, e.name.size());
    Put16(zip, 0);
    zip += e.name + data;

    Put32(directory, 0x02014b50);
    Put16(directory, 3 << 8 | 20);  // made on Unix
    Put16(directory, 20);
    Put16(directory, e.flags);
    Put16(directory, method);
    Put32(directory, 0x00210000);
    Put32(directory, crc);
    Put32(directory, packed);
    Put32(directory, size);
    Put16(directory, e.name.size());
    Put16(directory, extra.size());
    Put16(directory, 0);
    Put16(directory, 0);
    Put16(directory, 0);
    Put32(directory, static_cast<uint64_t>(e.mode) << 16);
    Put32(directory, offset);
    directory += e.name + extra;
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
