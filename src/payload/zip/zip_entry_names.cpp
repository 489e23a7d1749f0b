#include "payload/zip/zip_entry_names.h"

#include <algorithm>
#include <cstdint>

namespace ostrel {
namespace {

constexpr uint16_t kUtf8Flag = 0x0800;
constexpr uint8_t kMadeOnDos = 0;

// The upper half of code page 437, as Unicode code points.
constexpr char16_t kCp437High[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE,
    0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9, 0x00FF, 0x00D6,
    0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA,
    0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB, 0x2591, 0x2592, 0x2593, 0x2502,
    0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510, 0x2514,
    0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F, 0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550,
    0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C,
    0x2588, 0x2584, 0x258C, 0x2590, 0x2580, 0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4,
    0x03A6, 0x0398, 0x03A9, 0x03B4, 0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320,
    0x2321, 0x00F7, 0x2248, 0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0};

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | c >> 6);
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | c >> 12);
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// The name as a message can show it: a NUL byte would end the text there.
std::string Shown(const std::string& name) {
  std::string shown;
  for (char c : name) shown += c == '\0' ? std::string("\\0") : std::string(1, c);
  return shown;
}

}  // namespace

bool IsValidUtf8(const std::string& bytes) {
  const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
  const auto* end = p + bytes.size();
  while (p < end) {
    const unsigned char c = *p++;
    if (c < 0x80) continue;
    int more;
    char32_t cp, least;
    if ((c & 0xE0) == 0xC0) more = 1, cp = c & 0x1F, least = 0x80;
    else if ((c & 0xF0) == 0xE0) more = 2, cp = c & 0x0F, least = 0x800;
    else if ((c & 0xF8) == 0xF0) more = 3, cp = c & 0x07, least = 0x10000;
    else return false;
    if (end - p < more) return false;
    for (int i = 0; i < more; ++i, ++p) {
      if ((*p & 0xC0) != 0x80) return false;
      cp = cp << 6 | (*p & 0x3F);
    }
    // Overlong forms, surrogates and code points beyond Unicode are not UTF-8.
    if (cp < least || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
  }
  return true;
}

std::string Cp437ToUtf8(const std::string& bytes) {
  std::string out;
  out.reserve(bytes.size() * 2);
  for (unsigned char c : bytes) AppendUtf8(out, c < 0x80 ? char32_t(c) : char32_t(kCp437High[c - 0x80]));
  return out;
}

bool EntryNameOf(const ZipRecord& r, std::string& name, std::string& why) {
  // A NUL byte would cut the name short wherever it is written.
  if (r.name.find('\0') != std::string::npos || r.unicodeName.find('\0') != std::string::npos) {
    why = "the entry \"" + Shown(r.name) + "\" has a name that cannot be written as it stands (it holds a NUL byte)";
    return false;
  }
  if (r.flags & kUtf8Flag)
    name = r.name;
  else if (!r.unicodeName.empty())
    name = r.unicodeName;
  else if (IsValidUtf8(r.name))
    name = r.name;
  else
    name = Cp437ToUtf8(r.name);
  if (r.system == kMadeOnDos) std::replace(name.begin(), name.end(), '\\', '/');
  return true;
}

}  // namespace ostrel
