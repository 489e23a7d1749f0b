// The copies of a file or a folder with its content; the tree walks
// themselves are in tree_copy.cpp and tree_delete.cpp.
#include <sys/stat.h>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"

namespace ViewConst {
namespace {

bool IsCopyableKind(const fw::FolderItem& item) {
  struct stat st;
  return stat(item.NativePath().c_str(), &st) == 0 && (S_ISREG(st.st_mode) || S_ISDIR(st.st_mode));
}

// The common road of CopyFile and CopyFileB; `replaceFolder` is the B form's
// removal of a destination folder that a plain delete leaves standing.
bool CopyItem(const std::string& source, const std::string& destination, bool replaceFolder) {
  auto from = GlobalsKv::MyGetFolderItem(source);
  auto to = GlobalsKv::MyGetFolderItem(destination);
  if (!from || !to) return false;
  if (to->Exists()) {
    to->Delete();
    if (replaceFolder && to->Exists()) DeleteFolderOrApp(destination);
  }
  if (from->Exists() && !IsCopyableKind(*from)) return false;
  from->CopyFileTo(*to);
  bool ok = from->LastErrorCode() == 0;
  // The plain form trusts a destination of the source's length even when the
  // copy reported an error.
  if (!ok && !replaceFolder) ok = to->Exists() && to->Length() == from->Length();
  if (!ok) return false;
  return CopyFolder(source, destination);
}

}  // namespace

bool CopyFile(const std::string& source, const std::string& destination) { return CopyItem(source, destination, false); }

bool CopyFileB(const std::string& source, const std::string& destination) { return CopyItem(source, destination, true); }

}  // namespace ViewConst
