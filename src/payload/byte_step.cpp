#include "payload/byte_step.h"

#include <cstring>

namespace ostrel {
namespace {

// Sixteen bytes at a time in a vector register (SSE2 on x86-64, NEON on
// ARM); the pattern repeats every two bytes, so a 16-byte block never shifts it.
typedef unsigned char Block __attribute__((vector_size(16)));

}  // namespace

void ApplyByteStep(unsigned char* data, size_t size, bool firstOffsetOdd, bool encrypt) {
  ApplyByteStep(data, data, size, firstOffsetOdd, encrypt);
}

void ApplyByteStep(const unsigned char* from, unsigned char* to, size_t size, bool firstOffsetOdd, bool encrypt) {
  const unsigned char step = encrypt ? 1 : 0xFF;  // adding 0xFF takes one away, modulo 256
  Block pattern;
  for (int j = 0; j < 16; ++j) pattern[j] = ((j + firstOffsetOdd) & 1) ? step : 0;

  size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    Block a, b, c, d;
    std::memcpy(&a, from + i, 16);
    std::memcpy(&b, from + i + 16, 16);
    std::memcpy(&c, from + i + 32, 16);
    std::memcpy(&d, from + i + 48, 16);
    a += pattern;
    b += pattern;
    c += pattern;
    d += pattern;
    std::memcpy(to + i, &a, 16);
    std::memcpy(to + i + 16, &b, 16);
    std::memcpy(to + i + 32, &c, 16);
    std::memcpy(to + i + 48, &d, 16);
  }
  for (; i + 16 <= size; i += 16) {
    Block a;
    std::memcpy(&a, from + i, 16);
    a += pattern;
    std::memcpy(to + i, &a, 16);
  }
  for (; i < size; ++i) to[i] = static_cast<unsigned char>(from[i] + pattern[i & 15]);
}

}  // namespace ostrel
