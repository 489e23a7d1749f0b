// Scrambling and unscrambling of a whole file. The file streams through a
// small buffer into a new file beside it, which takes the original's name
// only once it is complete: memory stays bounded whatever the payload's size,
// and a failure half-way leaves the original as it was.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <vector>

#include "framework/file_copy.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/byte_step.h"

namespace ViewConst {
namespace {

constexpr size_t kChunk = size_t(1) << 20;

bool WriteAll(int fd, const unsigned char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// Streams `in` through the byte step into `out`; false on a read or write error.
bool TransformStream(int in, int out, bool encrypt) {
  std::vector<unsigned char> buffer(kChunk);
  uint64_t offset = 0;
  auto lastYield = std::chrono::steady_clock::now();
  for (;;) {
    const ssize_t n = read(in, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    // The step is counted from the file's first byte, across chunk borders.
    ostrel::ApplyByteStep(buffer.data(), static_cast<size_t>(n), offset & 1, encrypt);
    if (!WriteAll(out, buffer.data(), static_cast<size_t>(n))) return false;
    offset += static_cast<uint64_t>(n);
    // A large payload takes seconds: let the window breathe now and then.
    const auto now = std::chrono::steady_clock::now();
    if (now - lastYield > std::chrono::milliseconds(50)) {
      fw::DoEvents(0);
      lastYield = now;
    }
  }
}

}  // namespace

void EncryptDecryptFileEnd(const std::string& path, bool encrypt) {
  if (path.empty() || path[0] != '/') return;  // a relative path names no item
  const int in = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return;  // a missing file: nothing to do
  struct stat st;
  if (fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(in);
    return;
  }
  const mode_t mode = st.st_mode & 07777;
  std::string temp;
  const int out = fw::CreateSiblingTemp(path, temp, mode);
  if (out < 0) {
    close(in);
    return;
  }
  bool ok = TransformStream(in, out, encrypt);
  close(in);
  // The creation mode went through the umask; give back the original's own.
  if (fchmod(out, mode) != 0) ok = false;
  if (close(out) != 0) ok = false;
  if (ok && rename(temp.c_str(), path.c_str()) == 0) return;
  unlink(temp.c_str());
}

}  // namespace ViewConst
