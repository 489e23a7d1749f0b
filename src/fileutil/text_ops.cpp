// String searches, comparisons and field access. Positions are 1-based byte
// positions and 0 means not found; comparisons ignore the case of ASCII letters.
#include <cmath>
#include <limits>

#include "fileutil/view_const.h"
#include "framework/text.h"

namespace ViewConst {
namespace {

// Offsets of the fields of `text` split at `separator`, as (start, length).
// An empty text has no field; an empty separator leaves the text whole.
template <typename Visit>
void ForEachField(const std::string& text, const std::string& separator, Visit visit) {
  if (text.empty()) return;
  size_t start = 0;
  int number = 1;
  while (true) {
    const size_t hit = separator.empty() ? std::string::npos : fw::FindIgnoreCase(text, separator, start);
    const size_t end = hit == std::string::npos ? text.size() : hit;
    if (!visit(number, start, end - start)) return;
    if (hit == std::string::npos) return;
    start = hit + separator.size();
    ++number;
  }
}

// The code of the first character: a UTF-8 sequence is decoded, anything
// else counts as one byte.
unsigned FirstCharacterCode(const std::string& ch) {
  const auto b0 = static_cast<unsigned char>(ch[0]);
  int extra = b0 >= 0xF0 ? 3 : b0 >= 0xE0 ? 2 : b0 >= 0xC2 ? 1 : 0;
  if (extra == 0 || ch.size() < static_cast<size_t>(extra) + 1 || !fw::IsValidUtf8(ch.substr(0, extra + 1)))
    return b0;
  unsigned cp = b0 & (0x3F >> extra);
  for (int k = 1; k <= extra; ++k) cp = (cp << 6) | (static_cast<unsigned char>(ch[k]) & 0x3F);
  return cp;
}

}  // namespace

int Pos(const std::string& needle, const std::string& haystack) { return PosAfter(needle, haystack, 1, false); }

int PosAfter(const std::string& needle, const std::string& haystack, int start, bool bytewise) {
  const size_t from = start > 1 ? static_cast<size_t>(start - 1) : 0;
  if (needle.empty() || from >= haystack.size()) return 0;
  const size_t hit = bytewise ? haystack.find(needle, from) : fw::FindIgnoreCase(haystack, needle, from);
  return hit == std::string::npos ? 0 : static_cast<int>(hit) + 1;
}

bool NonCaseMatch(const std::string& a, const std::string& b) { return fw::EqualsIgnoreCase(a, b); }

int FindField(const std::string& text, const std::string& separator, const std::string& target) {
  int found = 0;
  ForEachField(text, separator, [&](int number, size_t start, size_t length) {
    if (NonCaseMatch(text.substr(start, length), target)) found = number;
    return found == 0;
  });
  return found;
}

std::string NthField(const std::string& text, const std::string& separator, int n) {
  std::string field;
  ForEachField(text, separator, [&](int number, size_t start, size_t length) {
    if (number == n) field = text.substr(start, length);
    return number < n;
  });
  return field;
}

int CountFields(const std::string& text, const std::string& separator) {
  int count = 0;
  ForEachField(text, separator, [&](int number, size_t, size_t) {
    count = number;
    return true;
  });
  return count;
}

std::string ReplaceCh1WithCh2(const std::string& text, const std::string& ch1, const std::string& ch2) {
  if (text.empty()) return text;
  // One byte for one byte; the result ends at the first NUL, so an empty
  // replacement ends the text at the first match.
  const char with = ch2.empty() ? '\0' : ch2[0];
  std::string out = text.substr(0, text.find('\0'));
  for (char& c : out)
    if (fw::EqualsIgnoreCase(std::string_view(&c, 1), ch1)) c = with;
  return out.substr(0, out.find('\0'));
}

std::string ReplaceAll(const std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) return text;
  std::string out;
  size_t at = 0;
  for (size_t hit; (hit = fw::FindIgnoreCase(text, from, at)) != std::string::npos; at = hit + from.size())
    out.append(text, at, hit - at).append(to);
  return out.append(text, at, std::string::npos);
}

std::string FillString(const std::string& ch, int count) {
  if (count <= 0 || ch.empty()) return std::string();
  return std::string(static_cast<size_t>(count), static_cast<char>(FirstCharacterCode(ch) & 0xFF));
}

int64_t Val(const std::string& text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
  auto digit = [&](size_t k) { return k < text.size() && text[k] >= '0' && text[k] <= '9'; };
  // The significant digits, and the power of ten they stand at: keeping the
  // two apart means no run of digits or exponent can make 0 times infinity.
  double mantissa = 0;
  int significant = 0;
  int64_t power = 0;
  bool any = false;
  auto take = [&](int d, bool fraction) {
    any = true;
    if (mantissa == 0 && d == 0) {
      power -= fraction;  // a leading zero
    } else if (significant < 19) {
      mantissa = mantissa * 10 + d;
      ++significant;
      power -= fraction;
    } else {
      power += !fraction;  // past a double's precision
    }
  };
  for (; digit(i); ++i) take(text[i] - '0', false);
  if (i < text.size() && text[i] == '.')
    for (++i; digit(i); ++i) take(text[i] - '0', true);  // "2.5e1" is 25
  if (any && i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t k = i + 1;
    bool negExp = false;
    if (k < text.size() && (text[k] == '-' || text[k] == '+')) negExp = text[k++] == '-';
    int64_t exponent = 0;
    for (; digit(k); ++k)
      if (exponent < 100000) exponent = exponent * 10 + (text[k] - '0');
    power += negExp ? -exponent : exponent;
  }
  constexpr double kMax = 9.2233720368547748e18;
  double value = 0;
  if (mantissa != 0 && power > 400)
    value = kMax;
  else if (mantissa != 0 && power >= -400)
    value = mantissa * std::pow(10.0, static_cast<double>(power));
  if (negative) value = -value;
  if (value >= kMax) return std::numeric_limits<int64_t>::max();
  if (value <= -kMax) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(value);  // truncates toward 0
}

}  // namespace ViewConst
