// SHA-256 of a byte stream, fed in pieces as it goes past (OpenSSL's
// libcrypto does the work, with the processor's SHA instructions where they
// exist).
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace fw {

class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void Add(const void* data, size_t size);
  // The digest as 64 lower-case hexadecimal digits; the object is spent.
  std::string HexDigest();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The digest of a whole file, read in chunks: empty when it cannot be read.
std::string Sha256OfFile(const std::string& path);

}  // namespace fw
