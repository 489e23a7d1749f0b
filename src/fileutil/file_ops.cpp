// Single-item operations on path strings: existence, delete, rename, the
// folder chain of ForceDirectories, visibility, and the tick-based wait.
#include <unistd.h>

#include <climits>

#include "dialogs/globals_kv.h"
#include "fileutil/invisible_items.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"

namespace ViewConst {
namespace {

// Message 34 or 36 of the table, with the path behind its sentence.
void ShowPathError(int message, const std::string& path) {
  GlobalsKv::gErrorString = GlobalsKv::MyGetString(message) + path;
  GlobalsKv::gConflictType = 999;
  GlobalsKv::ShowConflictMessage();
}

}  // namespace

bool DirectoryExists(const std::string& path) {
  const auto item = GlobalsKv::MyGetFolderItem(path);
  return item && item->Exists() && item->Directory();
}

bool FileExists(const std::string& path) {
  const auto item = GlobalsKv::MyGetFolderItem(path);
  return item && item->Exists();
}

void DeleteFile(const std::string& path) {
  auto item = GlobalsKv::MyGetFolderItem(path);
  if (item && item->Exists()) item->Delete();
}

void Sleep(int seconds) {
  const int64_t until = fw::Ticks() + static_cast<int64_t>(seconds) * 60;
  while (fw::Ticks() < until) fw::DoEvents(10);
}

bool RenameFile(const std::string& oldPath, const std::string& newPath) {
  // Case-insensitive volumes see one item under both names: deleting the
  // "new" one would delete the old.
  if (fw::AsciiLower(oldPath) == fw::AsciiLower(newPath)) return false;
  auto from = GlobalsKv::MyGetFolderItem(oldPath);
  if (!from || !from->Exists()) return false;
  DeleteFile(newPath);
  const auto to = GlobalsKv::MyGetFolderItem(newPath);
  if (!to) return false;
  from->MoveFileTo(*to);
  return true;
}

void ForceDirectories(const std::string& path, bool showErrors) {
  DebugConsole("FD0");
  std::string target = path;
  DropTrailingPathSeparator(target);
  DebugConsole("FD1");
  if (target.empty() || DirectoryExists(target)) return;
  GlobalsKv::gConflictType = 0;
  DebugConsole("FD2");
  DebugConsole("FD3");
  // "/a", "/a/b", ... and at last the whole path; every level is tried, so a
  // failure high up shows one message for each level below it as well.
  for (int n = 2;; ++n) {
    DebugConsole("FD4");
    const std::string prefix = DirectoryPathExtract(target, n);
    DebugConsole("FD4.1");
    if (prefix.empty()) break;
    auto item = GlobalsKv::MyGetFolderItem(prefix);
    DebugConsole("FD4.2");
    if (!item) throw fw::NilObjectException("ForceDirectories needs an absolute path: " + path);
    DebugConsole("FD4.3");
    if (item->Exists()) {
      DebugConsole("FD5");
      if (!item->Directory() && showErrors)
        ShowPathError(36, prefix);
    } else {
      DebugConsole("FD6");
      item->CreateAsFolder();
      if (!item->Exists() && showErrors) ShowPathError(34, prefix);
    }
  }
  DebugConsole("FD7");
}

void SetInvisible(const std::string& path) {
  // Taken as given, relative or not. Linux browsers honour the folder's
  // ".hidden" list, which is where the item's visibility is kept.
  if (path.empty()) return;
  // An item keeps its visibility in its folder, which a bare relative name
  // does not show: such a path is taken from the current folder.
  std::string full = path;
  if (full[0] != '/') {
    char cwd[PATH_MAX];
    if (!getcwd(cwd, sizeof cwd)) return;
    full = std::string(cwd) + "/" + full;
  }
  fw::FolderItem item(full);
  if (!item.Exists()) return;
  item.SetVisible(false);
  if (!item.Visible()) detail::RememberInvisible(item.NativePath());
}

}  // namespace ViewConst
