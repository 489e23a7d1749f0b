// One run of the clean-up program, from its instruction to its own removal.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cleanup/cleanup.h"
#include "framework/protected_folders.h"

namespace ostrel::cleanup {
namespace {

// The instruction is one short line; anything that is not a small plain file is none.
std::string ReadInstruction(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return {};
  struct stat st;
  std::string text;
  if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size <= 64 * 1024) {
    text.resize(static_cast<size_t>(st.st_size));
    const ssize_t n = read(fd, text.data(), text.size());
    text.resize(n > 0 ? static_cast<size_t>(n) : 0);
  }
  close(fd);
  return text;
}

}  // namespace

void RunCleanup(const std::string& ownBundle, const std::vector<std::string>& kept,
                std::chrono::milliseconds waitLimit) {
  const size_t slash = ownBundle.rfind('/');
  const std::string name = ownBundle.substr(slash + 1);
  if (slash == std::string::npos || name.size() <= 4 || name.compare(name.size() - 4, 4, ".app") != 0) return;
  const std::string stem = ownBundle.substr(0, ownBundle.size() - 4);
  const std::string archive = stem + ".zip", data = stem + ".data";

  const Instruction instruction = ParseInstruction(ReadInstruction(data));
  if (MayCarryOut(instruction, archive, kept)) {
    WaitForProcessesInside(instruction.path, waitLimit);
    // Asked again: a minute is long enough for the path to have changed.
    if (MayCarryOut(instruction, archive, kept)) RemoveTree(instruction.path);
  }
  for (const std::string& own : {ownBundle, archive, data})
    if (!fw::IsProtectedFromRemoval(own, kept)) RemoveTree(own);
}

}  // namespace ostrel::cleanup
