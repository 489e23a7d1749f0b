#include "payload/chunked_read.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <vector>

#include "framework/runtime.h"

namespace ostrel {

int ReadInChunks(int fd, const std::function<int(const char* data, size_t size)>& take, bool& readFailed) {
  readFailed = false;
  std::vector<char> buffer(kReadChunk);
  auto lastYield = std::chrono::steady_clock::now();
  for (;;) {
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      readFailed = true;
      return errno;
    }
    if (n == 0) return 0;
    if (const int error = take(buffer.data(), static_cast<size_t>(n))) return error;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastYield > std::chrono::milliseconds(50)) {
      fw::DoEvents(0);
      lastYield = now;
    }
  }
}

}  // namespace ostrel
