// The alternating byte step that scrambles the payload files and the setup
// record: bytes at even offsets stay, bytes at odd offsets move by one,
// modulo 256. One routine serves whole files (streamed in chunks) and the
// record text alike.
#pragma once

#include <cstddef>

namespace ostrel {

// Adds one (encrypt) or takes one away (decrypt) at every odd offset of the
// buffer, in place. `firstOffsetOdd` tells whether data[0] lies at an odd
// offset of the whole text, so that a file can be processed chunk by chunk.
void ApplyByteStep(unsigned char* data, size_t size, bool firstOffsetOdd, bool encrypt);
// The same from one buffer into another of the same size, which may be the
// first: the source stays as it was when they differ.
void ApplyByteStep(const unsigned char* from, unsigned char* to, size_t size, bool firstOffsetOdd, bool encrypt);

}  // namespace ostrel
