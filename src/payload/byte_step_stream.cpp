#include "payload/byte_step_stream.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <thread>
#include <vector>

#include "framework/file_copy.h"
#include "framework/runtime.h"
#include "framework/two_threads.h"
#include "payload/byte_step.h"
#include "payload/chunked_read.h"
#include "payload/side_look.h"

namespace ostrel {
namespace {

// A piece that stays in the cache between its read, its step and its write.
constexpr size_t kChunk = size_t(256) << 10;

// Reads exactly `size` bytes at `offset`: 0, the errno, or EIO for a file
// that ended early.
int ReadAllAt(int fd, unsigned char* buffer, size_t size, uint64_t offset) {
  while (size > 0) {
    const ssize_t n = pread(fd, buffer, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return EIO;
    buffer += n;
    size -= static_cast<size_t>(n);
    offset += static_cast<uint64_t>(n);
  }
  return 0;
}

int WriteAllAt(int fd, const unsigned char* buffer, size_t size, uint64_t offset) {
  while (size > 0) {
    const ssize_t n = pwrite(fd, buffer, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    buffer += n;
    size -= static_cast<size_t>(n);
    offset += static_cast<uint64_t>(n);
  }
  return 0;
}

// Two threads take the chunks by number and write each where it belongs;
// the step's parity follows the chunk's offset in the file.
int StreamOnTwoThreads(int in, int out, uint64_t size, bool encrypt) {
  std::atomic<uint64_t> next{0};
  std::atomic<int> failure{0};
  std::exception_ptr quit;
  const std::thread::id caller = std::this_thread::get_id();
  fw::DoEvents(0);  // the window shows that the long work has begun
  Breather breather;
  fw::RunOnTwoThreads([&] {
    std::vector<unsigned char> buffer(kChunk);
    const bool onCaller = std::this_thread::get_id() == caller;
    while (failure == 0) {
      const uint64_t offset = next.fetch_add(1) * kChunk;
      if (offset >= size) return;
      const size_t n = static_cast<size_t>(std::min<uint64_t>(kChunk, size - offset));
      int error = ReadAllAt(in, buffer.data(), n, offset);
      if (!error) {
        ApplyByteStep(buffer.data(), n, offset & 1, encrypt);
        error = WriteAllAt(out, buffer.data(), n, offset);
      }
      if (error) {
        int none = 0;
        failure.compare_exchange_strong(none, error);
        return;
      }
      if (!onCaller) continue;
      try {
        breather.Now();
      } catch (...) {
        quit = std::current_exception();
        failure = ECANCELED;  // the other thread stops at its next chunk
        return;
      }
    }
  });
  if (quit) std::rethrow_exception(quit);
  return failure;
}

int StreamWithSideLook(int in, int out, uint64_t size, bool encrypt, const BytesSeen& seen) {
  std::vector<unsigned char> stepped(kChunk);
  SideLook look(seen, kChunk);
  fw::DoEvents(0);
  Breather breather;
  for (uint64_t offset = 0; offset < size;) {
    auto* chunk = static_cast<unsigned char*>(look.Next());
    const size_t n = static_cast<size_t>(std::min<uint64_t>(kChunk, size - offset));
    if (const int error = ReadAllAt(in, chunk, n, offset)) return error;
    look.Post(n);
    ApplyByteStep(chunk, stepped.data(), n, offset & 1, encrypt);
    if (const int error = fw::WriteAll(out, stepped.data(), n)) return error;
    offset += n;
    breather.Now();
  }
  look.Finish();
  return 0;
}

}  // namespace

int StreamThroughByteStep(int in, int out, uint64_t size, bool encrypt, const BytesSeen& seen) {
  return seen ? StreamWithSideLook(in, out, size, encrypt, seen) : StreamOnTwoThreads(in, out, size, encrypt);
}

}  // namespace ostrel
