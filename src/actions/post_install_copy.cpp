// The action list after the payload is in place: deletes, shell commands,
// folders, permissions, and copies of installed items to places outside the
// target. Every failure is told and the walk goes on; nothing is undone.
#include "actions/action_list.h"
#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/protected_folders.h"
#include "framework/runtime.h"
#include "framework/text.h"

using namespace ViewConst;
using ostrel::actions::BounceThroughSharedFolder;
using ostrel::actions::ExpandMacros;
using ostrel::actions::ShowInstallError;

namespace {

const char* const kContactPublisher = "Contact Publisher";

// An installed item copied to `destination`, which may carry a condition:
// "[folder]dst" copies only when the folder exists, "{dst}" only when
// nothing stands at dst yet.
void CopyInstalledItem(const std::string& source, std::string dst) {
  bool go = true;
  if (!dst.empty() && dst[0] == '[') {
    dst.erase(0, 1);
    const size_t close = dst.find(']');
    const std::string test = ExpandMacros(dst.substr(0, close));
    dst = close == std::string::npos ? std::string() : dst.substr(close + 1, dst.find(']', close + 1) - close - 1);
    go = DirectoryExists(test);
  }
  if (!dst.empty() && dst[0] == '{') {
    dst.erase(0, 1);
    dst = dst.substr(0, dst.find('}'));
    const std::string test = ExpandMacros(dst);
    go = !FileExists(test) && !DirectoryExists(test);
  }
  if (!go) return;
  dst = ExpandMacros(dst);
  // A copy onto a folder the user keeps would merge into it, or replace it.
  if (fw::IsProtectedFromRemoval(dst)) {
    ShowInstallError(kContactPublisher);
    return;
  }

  const std::string parent = MyExtractFilePath(dst);
  if (!FileExists(source)) {
    ShowInstallError("Missing File: " + ExtractFileName(source));
    return;
  }
  if (!parent.empty() && !DirectoryExists(parent)) ForceDirectories(parent, true);
  if (FileExists(dst)) DeleteFile(dst);
  if (DirectoryExists(source)) {
    if (!CopyFolder(source, dst))
      ShowInstallError("Folder Copy Failed: " + ExtractFileName(source));
    else if (Pos("/Applications", dst) == 1 && Pos(".app", dst) > 0)
      BounceThroughSharedFolder(dst);
  } else if (FileExists(source)) {
    if (!CopyFile(source, dst)) ShowInstallError("File Copy Failed: " + ExtractFileName(source));
  }
}

bool Is(const std::string& key, const char* keyword) { return fw::EqualsIgnoreCase(key, keyword); }

}  // namespace

void ostrel::actions::BounceThroughSharedFolder(const std::string& dst) {
  const std::string name = ExtractFileName(dst);
  // Without a name the shared folder itself would be emptied.
  if (name.empty() || name == "." || name == "..") return;
  const std::string shared = fw::SpecialFolder(fw::SpecialFolderKind::Shared).NativePath() + "/" + name;
  // The results of the copies are not looked at: the second half runs whatever the first did.
  DeleteFolderOrApp(shared);
  CopyFolder(dst, shared);
  DeleteFolderOrApp(dst);
  Sleep(1);
  CopyFolder(shared, dst);
  DeleteFolderOrApp(shared);
  Sleep(1);
}

void OstrelStubWindow::PostInstallCopy() {
  const auto act = [this](const std::string& key, const std::string& value) {
    const bool hasValue = !value.empty();
    if (Is(key, "delete") && hasValue) {
      const std::string path = ExpandMacros(value);
      // "delete=UserAccount/", "delete=/tmp" and the like: a mistake of the
      // setup's, told as one.
      if (fw::IsProtectedFromRemoval(path) || fw::IsSharedFolder(path))
        ShowInstallError(kContactPublisher);
      else if (DirectoryExists(path))
        DeleteFolderOrApp(path);
      else if (FileExists(path))
        DeleteFile(path);
    } else if (Is(key, "shell") && hasValue) {
      DoShellCmd(value);
    } else if (Is(key, "shellfile") && hasValue) {
      DoShellFile(value);
    } else if (Is(key, "createfolder") && hasValue) {
      const std::string path = ExpandMacros(value);
      if (!DirectoryExists(path)) ForceDirectories(path, true);
    } else if (Is(key, "preinstalldelete") || Is(key, "preinstallcopy")) {
      // Done before installing.
    } else if (Is(key, "allusersfullaccess") && hasValue) {
      const std::string path = ExpandMacros(value);
      // The home folder or a standard folder opened to every user is no permission to grant.
      if (fw::IsProtectedFromRemoval(path))
        ShowInstallError(kContactPublisher);
      else
        AllUsersFullAccessOnMac(GlobalsKv::MyGetFolderItem(path));
    } else if (!key.empty() && hasValue) {
      // A keyword with a value took its own branch above: this key names an installed item.
      CopyInstalledItem(fTargetFolder + "/" + key, value);
    } else {
      ShowInstallError(kContactPublisher);
    }
  };
  for (const auto& [key, value, text] : ostrel::actions::ParseActionList(fPostCopy)) {
    // A path that is not a full one after its macro (an unknown macro, a
    // typo) fails this action alone; the installation goes on.
    try {
      act(key, value);
    } catch (const fw::NilObjectException&) {
      ShowInstallError(text + " (not a full path)");
    }
    fw::DoEvents(0);
  }
}
