#include "framework/text.h"

#include <cstdint>

namespace fw {
namespace {

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }

// Unicode code points of the MacRoman bytes 0x80 to 0xFF.
constexpr uint16_t kMacRomanHigh[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4,
    0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF,
    0x00F1, 0x00F3, 0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020,
    0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4,
    0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202,
    0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1,
    0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3,
    0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA,
    0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A,
    0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC,
    0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC, 0x00AF,
    0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Decodes one UTF-8 sequence at s[i]; answers false for a malformed one.
bool NextUtf8(std::string_view s, size_t& i, uint32_t& cp) {
  const auto b = static_cast<unsigned char>(s[i]);
  int extra;
  if (b < 0x80) { cp = b; extra = 0; }
  else if ((b & 0xE0) == 0xC0 && b >= 0xC2) { cp = b & 0x1F; extra = 1; }
  else if ((b & 0xF0) == 0xE0) { cp = b & 0x0F; extra = 2; }
  else if ((b & 0xF8) == 0xF0 && b <= 0xF4) { cp = b & 0x07; extra = 3; }
  else return false;
  if (i + extra >= s.size() && extra > 0) return false;
  for (int k = 1; k <= extra; ++k) {
    const auto c = static_cast<unsigned char>(s[i + k]);
    if ((c & 0xC0) != 0x80) return false;
    cp = (cp << 6) | (c & 0x3F);
  }
  if ((extra == 2 && cp < 0x800) || (extra == 3 && (cp < 0x10000 || cp > 0x10FFFF)) ||
      (cp >= 0xD800 && cp <= 0xDFFF))
    return false;
  i += extra + 1;
  return true;
}

}  // namespace

std::string AsciiLower(std::string_view s) {
  std::string r(s);
  for (char& c : r) c = LowerAscii(c);
  return r;
}

std::string AsciiUpper(std::string_view s) {
  std::string r(s);
  for (char& c : r) c = UpperAscii(c);
  return r;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  return true;
}

size_t FindIgnoreCase(std::string_view haystack, std::string_view needle, size_t from) {
  if (needle.empty() || needle.size() > haystack.size()) return std::string_view::npos;
  for (size_t i = from; i + needle.size() <= haystack.size(); ++i) {
    size_t k = 0;
    while (k < needle.size() && LowerAscii(haystack[i + k]) == LowerAscii(needle[k])) ++k;
    if (k == needle.size()) return i;
  }
  return std::string_view::npos;
}

bool IsValidUtf8(std::string_view s) {
  size_t i = 0;
  uint32_t cp;
  while (i < s.size())
    if (!NextUtf8(s, i, cp)) return false;
  return true;
}

std::string MacRomanToUtf8(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char ch : s) {
    const auto b = static_cast<unsigned char>(ch);
    AppendUtf8(out, b < 0x80 ? b : kMacRomanHigh[b - 0x80]);
  }
  return out;
}

std::string BytesToUtf8(std::string_view s) {
  return IsValidUtf8(s) ? std::string(s) : MacRomanToUtf8(s);
}

std::string Utf16ToUtf8(std::string_view bytes, bool littleEndian) {
  std::string out;
  const size_t n = bytes.size() / 2;
  auto unit = [&](size_t k) -> uint32_t {
    const auto a = static_cast<unsigned char>(bytes[2 * k]);
    const auto b = static_cast<unsigned char>(bytes[2 * k + 1]);
    return littleEndian ? (a | (b << 8)) : ((a << 8) | b);
  };
  for (size_t k = 0; k < n; ++k) {
    uint32_t u = unit(k);
    if (u >= 0xD800 && u <= 0xDBFF && k + 1 < n) {
      const uint32_t lo = unit(k + 1);
      if (lo >= 0xDC00 && lo <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00));
        ++k;
        continue;
      }
    }
    if (u >= 0xD800 && u <= 0xDFFF) u = 0xFFFD;  // a lone surrogate
    AppendUtf8(out, u);
  }
  return out;
}

std::string Utf8ToUtf16(std::string_view utf8, bool littleEndian) {
  std::string out;
  auto put = [&](uint32_t u) {
    const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
    if (littleEndian) { out += lo; out += hi; }
    else { out += hi; out += lo; }
  };
  size_t i = 0;
  while (i < utf8.size()) {
    uint32_t cp;
    if (!NextUtf8(utf8, i, cp)) {
      cp = 0xFFFD;
      ++i;
    }
    if (cp >= 0x10000) {
      cp -= 0x10000;
      put(0xD800 + (cp >> 10));
      put(0xDC00 + (cp & 0x3FF));
    } else {
      put(cp);
    }
  }
  return out;
}

}  // namespace fw
