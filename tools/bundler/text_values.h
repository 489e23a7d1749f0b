// Small readers of description values: trimming, escapes, yes/no, numbers,
// and the text files that a value may name.
#pragma once

#include <string>

namespace ostrel::bundler {

std::string Trim(const std::string& s);
std::string StripByteOrderMark(const std::string& s);

// "\n" becomes a line break and "\\" one backslash; any other backslash
// stays as it is. Throws BadInput for a backslash at the very end.
std::string UnescapeValue(const std::string& v);

// yes/no, true/false, on/off, 1/0, in any case.
bool ParseBoolean(const std::string& v, bool& out);
// A whole decimal number, optionally signed, that fits an int.
bool ParseInteger(const std::string& v, int& out);

// A UTF-8 text file: byte-order mark dropped, line breaks made "\n", the
// trailing line breaks removed. Throws BadInput when it cannot be read or is
// not UTF-8.
std::string ReadTextFile(const std::string& path);

// Names ending in ".html" or ".htm", in any case.
bool IsHtmlFileName(const std::string& path);

}  // namespace ostrel::bundler
