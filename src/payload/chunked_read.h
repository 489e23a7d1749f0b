// Reading a file to its end in chunks of about 1 MiB, with the event loop
// given a turn now and then: memory stays small whatever the file's size,
// and the window stays alive while a large file goes past.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

#include "payload/archives.h"

namespace ostrel {

constexpr size_t kReadChunk = size_t(1) << 20;

// Gives the window a turn when the last one is a while ago.
class Breather {
 public:
  void Now();

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// Hands each chunk of `fd`, from its current offset to its end, to `take`,
// which answers 0 or an errno that stops the reading. Answers 0, or the
// errno that stopped it; `readFailed` tells whether that was the reading's.
// `seen`, when given, is shown every chunk too, on a thread of its own (see
// side_look.h), and has seen them all when a reading to the end returns.
int ReadInChunks(int fd, const std::function<int(const char* data, size_t size)>& take, bool& readFailed,
                 const BytesSeen& seen = {});

// Copies `in`, from its current offset to its end, onto `out` at its current
// offset, by the kernel where it can (no bytes pass through our memory),
// telling `took` each chunk's size. Answers as ReadInChunks does; a failure
// is the reading's when the source cannot be read where the copy stopped.
int CopyInChunks(int in, int out, const std::function<void(size_t size)>& took, bool& readFailed);

}  // namespace ostrel
