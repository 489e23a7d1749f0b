// Small readers of description values and of the text files they name.
#include "bundler/text_values.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <sstream>

#include "bundler/setup_description.h"
#include "framework/text.h"

namespace ostrel::bundler {

std::string Trim(const std::string& s) {
  const char* const blanks = " \t\r\n";
  const size_t first = s.find_first_not_of(blanks);
  if (first == std::string::npos) return {};
  return s.substr(first, s.find_last_not_of(blanks) - first + 1);
}

std::string StripByteOrderMark(const std::string& s) {
  return s.compare(0, 3, "\xEF\xBB\xBF") == 0 ? s.substr(3) : s;
}

std::string UnescapeValue(const std::string& v) {
  std::string out;
  out.reserve(v.size());
  for (size_t i = 0; i < v.size(); ++i) {
    if (v[i] != '\\') {
      out += v[i];
      continue;
    }
    if (i + 1 == v.size()) throw BadInput("a value ends in a lone backslash; write \\\\ for one backslash");
    const char next = v[i + 1];
    if (next == 'n') {
      out += '\n';
      ++i;
    } else if (next == '\\') {
      out += '\\';
      ++i;
    } else {
      out += '\\';
    }
  }
  return out;
}

bool ParseBoolean(const std::string& v, bool& out) {
  const std::string s = fw::AsciiLower(v);
  if (s == "yes" || s == "true" || s == "on" || s == "1") return out = true, true;
  if (s == "no" || s == "false" || s == "off" || s == "0") return out = false, true;
  return false;
}

bool ParseInteger(const std::string& v, int& out) {
  if (v.empty()) return false;
  const char* first = v.data() + (v[0] == '+' ? 1 : 0);
  const char* last = v.data() + v.size();
  int value = 0;
  auto [end, err] = std::from_chars(first, last, value);
  if (err != std::errc() || end != last || first == last) return false;
  out = value;
  return true;
}

std::string ReadTextFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw BadInput("cannot read the file " + path + ": " + std::strerror(errno));
  std::ostringstream s;
  s << in.rdbuf();
  std::string text = StripByteOrderMark(s.str());
  if (!fw::IsValidUtf8(text)) throw BadInput("the file " + path + " is not UTF-8 text");
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') {
      out += '\n';
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else {
      out += text[i];
    }
  }
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

bool IsHtmlFileName(const std::string& path) {
  const std::string lower = fw::AsciiLower(path);
  auto endsWith = [&](const std::string& ext) {
    return lower.size() >= ext.size() && lower.compare(lower.size() - ext.size(), ext.size(), ext) == 0;
  };
  return endsWith(".html") || endsWith(".htm");
}

}  // namespace ostrel::bundler
