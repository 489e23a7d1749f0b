#include "payload/piece_join.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "framework/file_copy.h"
#include "payload/chunked_read.h"

namespace ostrel {

PieceOutcome AppendPiece(int out, const std::string& path, const ManifestEntry* expected,
                         const std::function<void(uint64_t bytes)>& progress) {
  const off_t start = lseek(out, 0, SEEK_END);
  if (start < 0) return {PieceOutcome::WriteFailed, errno};
  // Non-blocking at first, so that a pipe put in a piece's place cannot stall us.
  const int in = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (in < 0) return {PieceOutcome::Unreadable, errno};
  struct stat st;
  if (fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
    const int error = fstat(in, &st) != 0 ? errno : S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    close(in);
    return {PieceOutcome::Unreadable, error};
  }
  fcntl(in, F_SETFL, fcntl(in, F_GETFL) & ~O_NONBLOCK);
  posix_fadvise(in, 0, 0, POSIX_FADV_SEQUENTIAL);

  // A piece with an entry streams through its check; any other the kernel copies.
  PayloadCheck check(expected);
  uint64_t appended = 0;
  auto took = [&](size_t size) {
    appended += size;
    if (progress) progress(appended);
  };
  bool readFailed = false;
  int error;
  if (expected) {
    // The checksum goes on beside the writing, over the very bytes written.
    error = ReadInChunks(
        in,
        [&](const char* data, size_t size) {
          if (const int e = fw::WriteAll(out, data, size)) return e;
          took(size);
          return 0;
        },
        readFailed, [&check](const void* data, size_t size) { check.Add(data, size); });
  } else {
    error = CopyInChunks(in, out, took, readFailed);
  }
  close(in);

  PieceOutcome outcome;
  if (error)
    outcome = {readFailed ? PieceOutcome::Unreadable : PieceOutcome::WriteFailed, error};
  else if (!check.Matches())
    outcome = {PieceOutcome::Damaged, 0};
  if (outcome.kind != PieceOutcome::Joined && (ftruncate(out, start) != 0 || lseek(out, start, SEEK_SET) < 0))
    outcome = {PieceOutcome::WriteFailed, errno};
  return outcome;
}

}  // namespace ostrel
