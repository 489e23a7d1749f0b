// Byte-string helpers shared by the framework and the logic. The installer
// compares text without regard to the case of ASCII letters, everywhere alike.
#pragma once

#include <string>
#include <string_view>

namespace fw {

std::string AsciiLower(std::string_view s);
std::string AsciiUpper(std::string_view s);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
// Byte offset of needle in haystack from `from`, ignoring ASCII case; npos when absent.
size_t FindIgnoreCase(std::string_view haystack, std::string_view needle, size_t from = 0);

// Text encodings. Internally texts are UTF-8.
bool IsValidUtf8(std::string_view s);
std::string MacRomanToUtf8(std::string_view s);
// Text read from a file with no declared encoding: kept when it is UTF-8, else taken as MacRoman.
std::string BytesToUtf8(std::string_view s);
std::string Utf16ToUtf8(std::string_view bytes, bool littleEndian);
std::string Utf8ToUtf16(std::string_view utf8, bool littleEndian);

}  // namespace fw
