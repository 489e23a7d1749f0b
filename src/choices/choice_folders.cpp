#include "choices/choice_folders.h"

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/archives.h"

namespace ostrel {

Placement PlaceInTarget(const std::string& targetFolder, const std::string& name, const std::string& suffix) {
  const std::string sep = ViewConst::GetPathSeparator();
  Placement p;
  if (!ViewConst::NonCaseMatch(name, ViewConst::ExtractFileName(targetFolder))) {
    p.destination = targetFolder + sep + name;
    if (ViewConst::DirectoryExists(p.destination)) {
      p.mergeTarget = p.destination;
      p.destination += suffix;
      p.staged = true;
    }
  } else {
    p.mergeTarget = targetFolder;
    p.destination = targetFolder + suffix;
    p.staged = true;
  }
  return p;
}

void MergeStagedFolder(const std::string& destination, const std::string& mergeTarget) {
  const std::string sep = ViewConst::GetPathSeparator();
  if (const auto staging = GlobalsKv::MyGetFolderItem(destination)) {
    // Downwards: each child that moves leaves the folder, the lower indices stay valid.
    for (int k = staging->Count(); k >= 1; --k) {
      const auto child = staging->TrueItem(k);
      if (!child) continue;
      const std::string from = destination + sep + child->Name();
      const std::string to = mergeTarget + sep + child->Name();
      // The rename does not look at its move; the item still standing in the
      // staging folder tells that it did not go (a folder that meets a
      // non-empty one of the same name, say).
      const bool moved = ViewConst::RenameFile(from, to) && !fw::FolderItem(from).Exists();
      if (!moved) fw::MsgBox("Failed to create " + to);
    }
  }
  ViewConst::DeleteFolderOrApp(destination);
}

std::string ResourcesFolderPath() {
  const std::string sep = ViewConst::GetPathSeparator();
  const fw::FolderItem exe = fw::ExecutableFile();
  if (exe.NativePath().empty()) return {};
  const std::string path = ViewConst::MyAbsolutePath(exe);
  std::optional<fw::FolderItem> item = exe;
  if (const int p = ViewConst::Pos(sep + "Contents", path); p > 0)
    item = GlobalsKv::MyGetFolderItem(path.substr(0, static_cast<size_t>(p) + 8));
  if (!item) return {};
  return ViewConst::MyAbsolutePath(item->Child("Resources"));
}

bool ExpandArchiveInto(const std::string& archive, const std::string& folder, bool replace) {
  if (!GlobalsKv::MyGetFolderItem(archive) || !GlobalsKv::MyGetFolderItem(folder)) return false;
  return ViewConst::ZipFileToFolder(archive, folder, replace);
}

}  // namespace ostrel
