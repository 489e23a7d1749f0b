// Opening items to every user, by system call: the same effect as
// "chmod ugo+rwx", with no process started and no link followed.
#include <fcntl.h>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/folder_walk.h"

namespace ViewConst {

void AllUsersFullAccess(const std::string& path) { AllUsersFullAccessOnMac(GlobalsKv::MyGetFolderItem(path)); }

void AllUsersFullAccessOnMac(const std::optional<fw::FolderItem>& item) {
  if (!item || item->NativePath().empty()) return;
  fw::AddModeAt(AT_FDCWD, item->NativePath().c_str(), 0777);
}

}  // namespace ViewConst
