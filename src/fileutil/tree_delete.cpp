// Removal of a file, a folder or a bundle with everything inside, for every
// caller of the file layer: the folders the user keeps are refused here, and
// the name leaves the folder's list of invisible items with the item.
#include <fcntl.h>
#include <unistd.h>

#include "dialogs/globals_kv.h"
#include "fileutil/invisible_items.h"
#include "fileutil/view_const.h"
#include <sys/stat.h>

#include "framework/protected_folders.h"
#include "framework/tree_removal.h"

namespace ViewConst {

void DeleteFolderOrApp(const std::string& path) {
  const auto item = GlobalsKv::MyGetFolderItem(path);
  if (!item) return;
  const fw::FolderItem parent = item->Parent();
  const std::string name = item->Name();
  // The root has no name in a parent to remove it by.
  if (parent.NativePath().empty() || name.empty() || name == "/" || name == "." || name == "..") return;
  if (fw::IsProtectedFromRemoval(item->NativePath())) return;
  const int dir = open(parent.NativePath().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return;
  // Each folder gains rwx for its owner alone before it is emptied: one that
  // cannot be emptied after all must not stay open to everyone.
  fw::RemoveTreeAt(dir, name, S_IRWXU);
  close(dir);
  if (!item->Exists()) detail::ReleaseInvisible(item->NativePath());
}

}  // namespace ViewConst
