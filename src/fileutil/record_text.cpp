// The setup record's byte cipher, its hexadecimal Unicode texts, and whole
// small files read and written in one go.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/file_copy.h"
#include "framework/runtime.h"
#include "framework/text.h"
#include "payload/byte_step.h"

namespace ViewConst {
namespace {

// Bytes at odd offsets move by one; those at even offsets stay. Unsigned
// arithmetic wraps, so 0 - 1 is 255 and 255 + 1 is 0.
void ShiftOddBytes(std::string& text, bool encrypt) {
  ostrel::ApplyByteStep(reinterpret_cast<unsigned char*>(text.data()), text.size(), false, encrypt);
}

unsigned HexDigit(unsigned char c) { return c >= 65 ? c - 55u : c - 48u; }

}  // namespace

void DecryptStr(std::string& text) { ShiftOddBytes(text, false); }

std::string Encrypt(const std::string& text) {
  std::string out = text;
  ShiftOddBytes(out, true);
  return out;
}

void MemoryBlockHexToByte(const char* hex, uint8_t* bytes, size_t count) {
  // Only "0"-"9" and "A"-"F" mean what they say; other bytes decode by the
  // same arithmetic, which is what the authoring side expects of them.
  for (size_t i = 0; i < count; ++i) {
    const unsigned high = HexDigit(static_cast<unsigned char>(hex[2 * i]));
    const unsigned low = HexDigit(static_cast<unsigned char>(hex[2 * i + 1]));
    bytes[i] = static_cast<uint8_t>((high * 16 + low) & 0xFF);
  }
}

std::string UnicodeFromHex(const std::string& text, bool decode) {
  if (!decode || text.empty()) return text;
  const size_t n = text.size() / 2;
  std::string bytes(n, '\0');
  MemoryBlockHexToByte(text.data(), reinterpret_cast<uint8_t*>(bytes.data()), n);
  // The authoring side writes little-endian; a byte-order mark, when there
  // is one, decides instead and is not part of the text.
  bool little = true;
  std::string_view units(bytes);
  if (units.size() >= 2) {
    const auto a = static_cast<unsigned char>(units[0]), b = static_cast<unsigned char>(units[1]);
    if ((a == 0xFF && b == 0xFE) || (a == 0xFE && b == 0xFF)) {
      little = a == 0xFF;
      units.remove_prefix(2);
    }
  }
  return fw::Utf16ToUtf8(units, little);
}

// Texts are UTF-8 throughout, so there is nothing to convert.
std::string LineEndingEncoding(const std::string& text) { return text; }

void DataFileRead(const std::string& path, std::string& text) {
  text.clear();
  const auto item = GlobalsKv::MyGetFolderItem(path);
  if (!item || !item->Exists()) return;
  // Non-blocking so that a pipe standing at the path fails instead of waiting.
  const int fd = open(item->NativePath().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  struct stat st;
  if (fd < 0 || fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    const int e = fd < 0 ? errno : EINVAL;
    if (fd >= 0) close(fd);
    throw fw::IOException("cannot read " + path + ": " + std::strerror(e));
  }
  std::string all;
  char buf[64 * 1024];
  for (;;) {
    const ssize_t n = read(fd, buf, sizeof buf);
    if (n > 0) all.append(buf, static_cast<size_t>(n));
    else if (n == 0) break;
    else if (errno != EINTR) {
      const int e = errno;
      close(fd);
      throw fw::IOException("cannot read " + path + ": " + std::strerror(e));
    }
  }
  close(fd);
  text = std::move(all);
}

void DataFileWrite(const std::string& path, const std::string& text) {
  if (!DirectoryExists(ExtractFilePath(path))) return;
  DeleteFile(path);
  // Written beside the path and put in place whole, so that no reader ever
  // meets half a file.
  std::string temp;
  const int fd = fw::CreateSiblingTemp(path, temp, 0644);
  if (fd < 0) throw fw::IOException("cannot create " + path + ": " + std::strerror(errno));
  int err = 0;
  for (size_t done = 0; done < text.size() && !err;) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n > 0) done += static_cast<size_t>(n);
    else if (errno != EINTR) err = errno;
  }
  if (close(fd) != 0 && !err) err = errno;
  if (!err && rename(temp.c_str(), path.c_str()) != 0) err = errno;
  if (err) {
    unlink(temp.c_str());
    throw fw::IOException("cannot write " + path + ": " + std::strerror(err));
  }
}

}  // namespace ViewConst
