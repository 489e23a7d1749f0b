// The character type of the locale the stub runs under: QApplication takes
// the desktop's, and the stub makes it UTF-8 when it is not. Tests of what
// depends on it run under the same, for as long as the object lives.
#pragma once

#include <clocale>
#include <string>

namespace ostrel::test {

class Utf8Locale {
 public:
  Utf8Locale() : saved_(setlocale(LC_CTYPE, nullptr)) { ok_ = setlocale(LC_CTYPE, "C.UTF-8") != nullptr; }
  ~Utf8Locale() { setlocale(LC_CTYPE, saved_.c_str()); }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;
  bool Ok() const { return ok_; }

 private:
  std::string saved_;
  bool ok_ = false;
};

}  // namespace ostrel::test
