// The clean-up program's removal: the installer's own tree removal, which
// follows no link and leaves other file systems whole. Folders gain only
// their owner's bits on the way, so a removal that stops short leaves none
// of them open to others.
#include <fcntl.h>
#include <unistd.h>

#include "cleanup/cleanup.h"
#include "framework/tree_removal.h"

namespace ostrel::cleanup {

void RemoveTree(const std::string& given) {
  std::string path = given;
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash + 1 == path.size()) return;
  const std::string name = path.substr(slash + 1);
  if (name == "." || name == "..") return;
  const int parent = open(slash == 0 ? "/" : path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (parent < 0) return;
  fw::RemoveTreeAt(parent, name, 0700);
  close(parent);
}

}  // namespace ostrel::cleanup
