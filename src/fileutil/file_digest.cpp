#include "fileutil/file_digest.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

namespace ostrel {

std::optional<std::string> FileSha256(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  bool ok = ctx && EVP_DigestInit_ex(ctx.get(), EVP_sha256(), nullptr) == 1;
  std::vector<unsigned char> buffer(1 << 20);
  while (ok) {
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = n == 0;
      break;
    }
    ok = EVP_DigestUpdate(ctx.get(), buffer.data(), static_cast<size_t>(n)) == 1;
  }
  close(fd);
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (!ok || EVP_DigestFinal_ex(ctx.get(), digest, &size) != 1) return std::nullopt;
  static const char* const kDigits = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < size; ++i) {
    hex += kDigits[digest[i] >> 4];
    hex += kDigits[digest[i] & 15];
  }
  return hex;
}

}  // namespace ostrel
