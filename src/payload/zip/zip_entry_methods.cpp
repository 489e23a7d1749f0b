#include "payload/zip/zip_entry_methods.h"


#include "payload/zip/zip_entry_names.h"

namespace ostrel {
namespace {

// Traditional encryption, strong encryption, an encrypted directory.
constexpr uint16_t kEncryptedFlags = 0x0001 | 0x0040 | 0x2000;
constexpr uint16_t kAesMethod = 99;

const char* MethodName(uint16_t method) {
  switch (method) {
    case 1: return "Shrink";
    case 2: case 3: case 4: case 5: return "Reduce";
    case 6: return "Implode";
    case 9: return "Deflate64";
    case 10: return "PKWARE DCL Implode";
    case 18: return "IBM TERSE";
    case 19: return "IBM LZ77";
    case 93: return "Zstandard";
    case 94: return "MP3";
    case 96: return "JPEG";
    case 97: return "WavPack";
    case 98: return "PPMd";
    default: return nullptr;
  }
}

}  // namespace

std::string WhyEntryCannotBeRead(const ZipRecord& r, const std::string& name) {
  const std::string entry = "the entry \"" + name + "\" ";
  if ((r.flags & kEncryptedFlags) || r.method == kAesMethod) return entry + "is protected by a password";
  switch (r.method) {
    case 0:   // stored
    case 8:   // deflate
    case 12:  // bzip2
    case 14:  // LZMA
    case 95:  // xz
      return {};
  }
  const char* known = MethodName(r.method);
  return entry + "uses " + (known ? std::string(known) : "compression method " + std::to_string(r.method)) +
         ", a compression method this setup cannot read";
}

std::string WhyArchiveCannotBeRead(const std::vector<ZipRecord>& records) {
  for (const ZipRecord& r : records) {
    std::string name, why;
    if (!EntryNameOf(r, name, why)) return why;
    if (std::string bad = WhyEntryCannotBeRead(r, name); !bad.empty()) return bad;
  }
  return {};
}

std::string WhyZipFileCannotBeRead(const std::string& path) {
  ZipDirectory dir;
  if (std::string why = ReadZipFileDirectory(path, dir); !why.empty()) return why;
  return WhyArchiveCannotBeRead(dir.records);
}

}  // namespace ostrel
