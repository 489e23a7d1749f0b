// Scrambling and unscrambling of a whole file. The file streams through a
// small buffer into a new file beside it, which takes the original's name
// only once it is complete: memory stays bounded whatever the payload's size,
// and a failure half-way, a full volume or a kill included, leaves the
// original as it was. A copy that is unscrambled on the way (the working
// archive from Data2) is the same single pass into a new file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "framework/file_copy.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/byte_step_stream.h"

namespace ostrel {
namespace {

// Opens `path` for reading when it names a plain file: the descriptor, its
// mode and size, or -1 (and errno) otherwise.
int OpenPlainFile(const std::string& path, mode_t& mode, uint64_t& size) {
  if (path.empty() || path[0] != '/') return errno = ENOENT, -1;  // a relative path names no item
  const int in = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return -1;
  struct stat st;
  if (fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(in);
    return errno = EISDIR, -1;
  }
  mode = st.st_mode & 07777;
  size = static_cast<uint64_t>(st.st_size);
  return in;
}

// Streams `in` into the new file `out` at `outPath` with the mode given;
// 0 or the errno of the first failure. Both descriptors are closed, and the
// new file is removed again when it fails, or when the window's turn ends
// the run (a Quit pressed meanwhile).
int StreamInto(int in, uint64_t size, int out, const std::string& outPath, mode_t mode, bool encrypt,
               const BytesSeen& seen = {}) {
  int error = 0;
  try {
    error = StreamThroughByteStep(in, out, size, encrypt, seen);
  } catch (...) {
    close(in);
    close(out);
    unlink(outPath.c_str());
    throw;
  }
  close(in);
  // The creation mode went through the umask; give back the original's own.
  if (fchmod(out, mode) != 0 && !error) error = errno;
  if (close(out) != 0 && !error) error = errno;
  if (error) unlink(outPath.c_str());
  return error;
}

}  // namespace

int RewriteThroughByteStep(const std::string& path, bool encrypt) {
  mode_t mode = 0;
  uint64_t size = 0;
  const int in = OpenPlainFile(path, mode, size);
  if (in < 0) return -1;  // a missing file: nothing to do
  std::string temp;
  const int out = fw::CreateSiblingTemp(path, temp, mode);
  if (out < 0) {
    const int error = errno;
    close(in);
    return error;
  }
  int error = StreamInto(in, size, out, temp, mode, encrypt);
  if (!error && rename(temp.c_str(), path.c_str()) != 0) {
    error = errno;
    unlink(temp.c_str());
  }
  return error;
}

CopyResult CopyThroughByteStep(const std::string& source, const std::string& destination, bool encrypt,
                               const BytesSeen& seen) {
  mode_t mode = 0;
  uint64_t size = 0;
  const int in = OpenPlainFile(source, mode, size);
  if (in < 0) return {errno, true};
  const int out = open(destination.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
  if (out < 0) {
    const int error = errno;
    close(in);
    return {error, false};
  }
  return {StreamInto(in, size, out, destination, mode, encrypt, seen), false};
}

}  // namespace ostrel

namespace ViewConst {

void EncryptDecryptFileEnd(const std::string& path, bool encrypt) {
  const int error = ostrel::RewriteThroughByteStep(path, encrypt);
  if (error <= 0) return;
  // The file is as it was. Said here, since what comes next (an expansion,
  // mostly) could only say that it makes no sense of the file.
  fw::MsgBox("The file " + path.substr(path.rfind('/') + 1) + " could not be " +
             (encrypt ? "scrambled" : "unscrambled") + ": " + std::strerror(error) + ".");
}

}  // namespace ViewConst
