#include "framework/sha256.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

namespace fw {

struct Sha256::State {
  EVP_MD_CTX* ctx = nullptr;
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
  state_->ctx = EVP_MD_CTX_new();
  if (!state_->ctx || EVP_DigestInit_ex(state_->ctx, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("SHA-256 is not available");
}

Sha256::~Sha256() { EVP_MD_CTX_free(state_->ctx); }

void Sha256::Add(const void* data, size_t size) {
  if (size > 0) EVP_DigestUpdate(state_->ctx, data, size);
}

std::string Sha256::HexDigest() {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  EVP_DigestFinal_ex(state_->ctx, digest, &length);
  static const char kHex[] = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    hex += kHex[digest[i] >> 4];
    hex += kHex[digest[i] & 15];
  }
  return hex;
}

std::string Sha256OfFile(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  Sha256 sum;
  std::vector<char> buffer(1 << 20);
  for (;;) {
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      close(fd);
      return {};
    }
    if (n == 0) break;
    sum.Add(buffer.data(), static_cast<size_t>(n));
  }
  close(fd);
  return sum.HexDigest();
}

}  // namespace fw
