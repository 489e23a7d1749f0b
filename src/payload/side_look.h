// A stream's chunks shown to an observer (a checksum, mostly) on a thread of
// its own, in their order, while the thread that read them writes them on:
// the observer costs the other core's time rather than the stream's. Two
// buffers take turns: one is being looked at while the next is read into
// the other.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "payload/archives.h"

namespace ostrel {

class SideLook {
 public:
  SideLook(const BytesSeen& seen, size_t chunkSize);
  ~SideLook();
  SideLook(const SideLook&) = delete;
  SideLook& operator=(const SideLook&) = delete;

  // The buffer (of `chunkSize` bytes) to read the next chunk into, once its
  // last look has ended.
  void* Next();
  // Hands over the chunk just read into Next()'s buffer. It may still be
  // read, not changed, until the next Next().
  void Post(size_t size);
  // Returns when every chunk posted has been looked at.
  void Finish();

 private:
  void Run();

  const BytesSeen& seen_;
  std::vector<char> buffers_[2];
  size_t sizes_[2] = {0, 0};
  uint64_t posted_ = 0, done_ = 0;
  bool stop_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace ostrel
