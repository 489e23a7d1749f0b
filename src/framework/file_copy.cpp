#include "framework/file_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <vector>

namespace fw {

int CreateSiblingTemp(const std::string& finalPath, std::string& tempPath, mode_t mode) {
  static std::atomic<unsigned> counter{0};
  for (int attempt = 0; attempt < 100; ++attempt) {
    tempPath = finalPath + ".part-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
    const int fd = open(tempPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  errno = EEXIST;
  return -1;
}

int CopyRegularFile(const std::string& source, const std::string& destination) {
  // Non-blocking, so that a named pipe in the source cannot stall the copy.
  const int in = open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (in < 0) return errno;
  struct stat st;
  if (fstat(in, &st) != 0) {
    const int e = errno;
    close(in);
    return e;
  }
  if (!S_ISREG(st.st_mode)) {
    close(in);
    return S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
  }
  fcntl(in, F_SETFL, fcntl(in, F_GETFL) & ~O_NONBLOCK);
  struct stat dst;
  if (lstat(destination.c_str(), &dst) == 0 && S_ISDIR(dst.st_mode)) {
    close(in);
    return EISDIR;  // a file never replaces a folder
  }
  std::string temp;
  const int out = CreateSiblingTemp(destination, temp, st.st_mode & 07777);
  if (out < 0) {
    const int e = errno;
    close(in);
    return e;
  }
  int err = 0;
  off_t left = st.st_size;
  // The kernel copies without a trip through user space where it can.
  while (left > 0) {
    const ssize_t n = copy_file_range(in, nullptr, out, nullptr, static_cast<size_t>(left), 0);
    if (n > 0) {
      left -= n;
      continue;
    }
    if (n == 0) break;
    if (errno == EINTR) continue;
    if (errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL) break;
    err = errno;
    break;
  }
  if (!err && left > 0) {
    std::vector<char> buf(1 << 20);
    for (;;) {
      const ssize_t n = read(in, buf.data(), buf.size());
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) { err = errno; break; }
      if (n == 0) break;
      for (ssize_t done = 0; done < n;) {
        const ssize_t w = write(out, buf.data() + done, static_cast<size_t>(n - done));
        if (w < 0 && errno == EINTR) continue;
        if (w < 0) { err = errno; break; }
        done += w;
      }
      if (err) break;
    }
  }
  close(in);
  if (fchmod(out, st.st_mode & 07777) != 0 && !err) err = errno;
  if (close(out) != 0 && !err) err = errno;
  if (!err && rename(temp.c_str(), destination.c_str()) != 0) err = errno;
  if (err) unlink(temp.c_str());
  return err;
}

}  // namespace fw
