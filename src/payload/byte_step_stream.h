// A whole file streamed through the alternating byte step into another, in
// chunks small enough to stay in the cache between their read, step and
// write, so that memory stays bounded whatever the file's size.
#pragma once

#include <cstdint>

#include "payload/archives.h"

namespace ostrel {

// Streams the `size` bytes of `in` through the byte step into `out`, both
// from their start; 0 or the errno of the first read or write error (EIO
// when `in` turns out shorter than `size`). Without `seen`, two threads share
// the chunks. With it, one thread steps and writes while a second one shows
// `seen` the source's chunks in their order (a checksum then costs the other
// core's time, not the copy's). The window gets a turn now and then, on the
// calling thread; a Quit pressed meanwhile comes out as its exception once
// every thread has stopped.
int StreamThroughByteStep(int in, int out, uint64_t size, bool encrypt, const BytesSeen& seen);

}  // namespace ostrel
