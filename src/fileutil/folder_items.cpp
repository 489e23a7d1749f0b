// From a path string to the item it names.
#include "dialogs/globals_kv.h"

namespace GlobalsKv {

// Only an absolute path resolves: a relative one would depend on the current
// directory, which the installer never sets, so it counts as not there.
std::optional<fw::FolderItem> MyGetFolderItem(const std::string& path) {
  if (path.empty() || path[0] != '/') return std::nullopt;
  return fw::FolderItem(path);
}

}  // namespace GlobalsKv
