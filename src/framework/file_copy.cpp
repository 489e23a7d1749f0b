#include "framework/file_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "framework/own_files.h"

namespace fw {

int WriteAll(int fd, const void* data, size_t size) {
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = write(fd, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return EIO;
    p += n;
    size -= static_cast<size_t>(n);
  }
  return 0;
}

int CopyContent(int in, int out, off_t size, std::vector<char>& buffer) {
  off_t left = size;
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
    return errno;
  }
  // Where it cannot: by hand.
  while (left > 0) {
    const ssize_t n = read(in, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return 0;
    if (const int e = WriteAll(out, buffer.data(), static_cast<size_t>(n))) return e;
    left -= n;
  }
  return 0;
}

int CreateSiblingTemp(const std::string& finalPath, std::string& tempPath, mode_t mode) {
  const auto slash = finalPath.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : finalPath.substr(0, slash);
  const int dir = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return -1;
  std::string name;
  const int fd = CreateOwnFileAt(dir, kPartSuffix, mode, name);
  const int error = errno;
  close(dir);
  tempPath = (folder == "/" ? "" : folder) + "/" + name;
  errno = error;
  return fd;
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
  std::vector<char> buffer(1 << 20);
  int err = CopyContent(in, out, st.st_size, buffer);
  close(in);
  if (fchmod(out, st.st_mode & 07777) != 0 && !err) err = errno;
  if (close(out) != 0 && !err) err = errno;
  if (!err && rename(temp.c_str(), destination.c_str()) != 0) err = errno;
  if (err) unlink(temp.c_str());
  return err;
}

}  // namespace fw
