#include "payload/chunked_read.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <vector>

#include "framework/file_copy.h"
#include "framework/runtime.h"
#include "payload/side_look.h"

namespace ostrel {

void Breather::Now() {
  const auto now = std::chrono::steady_clock::now();
  if (now - last_ > std::chrono::milliseconds(50)) {
    fw::DoEvents(0);
    last_ = now;
  }
}

int ReadInChunks(int fd, const std::function<int(const char* data, size_t size)>& take, bool& readFailed,
                 const BytesSeen& seen) {
  readFailed = false;
  std::vector<char> own;
  std::optional<SideLook> look;
  if (seen)
    look.emplace(seen, kReadChunk);
  else
    own.resize(kReadChunk);
  Breather breather;
  for (;;) {
    char* buffer = look ? static_cast<char*>(look->Next()) : own.data();
    const ssize_t n = read(fd, buffer, kReadChunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      readFailed = true;
      return errno;
    }
    if (n == 0) break;
    if (look) look->Post(static_cast<size_t>(n));
    if (const int error = take(buffer, static_cast<size_t>(n))) return error;
    breather.Now();
  }
  if (look) look->Finish();
  return 0;
}

int CopyInChunks(int in, int out, const std::function<void(size_t size)>& took, bool& readFailed) {
  readFailed = false;
  Breather breather;
  for (;;) {
    const ssize_t n = copy_file_range(in, nullptr, out, nullptr, kReadChunk, 0);
    if (n > 0) {
      took(static_cast<size_t>(n));
      breather.Now();
      continue;
    }
    if (n == 0) return 0;
    if (errno == EINTR) continue;
    if (errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL) break;
    // Which side failed: the source is read again where the copy stopped.
    const int error = errno;
    char probe;
    const off_t at = lseek(in, 0, SEEK_CUR);
    readFailed = at < 0 || pread(in, &probe, 1, at) < 0;
    return error;
  }
  // Files the kernel will not copy between: through our memory, the same way.
  return ReadInChunks(
      in,
      [out, &took](const char* data, size_t size) {
        if (const int e = fw::WriteAll(out, data, size)) return e;
        took(size);
        return 0;
      },
      readFailed);
}

}  // namespace ostrel
