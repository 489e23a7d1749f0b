// A patch setup's folder, "<target>Patch", applied to the installation
// beside it: its files replace their twins, "*Delete*" items remove what
// they name, and the patch folder goes. Nothing outside the installation is
// touched: a name that climbs out, and a path that leads out through a link
// in the installation, are passed over.
#include <climits>
#include <cstdlib>

#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"

using namespace ViewConst;

namespace {

const std::string kDeleteMarker = "*Delete*";
const std::string kPatchSuffix = "Patch";

// How long the patch folder's removal goes on trying, one try every two
// seconds, before it leaves the folder where it is.
constexpr int64_t kPatchFolderGiveUpTicks = 30 * 60;

std::string RealPath(const std::string& path) {
  char real[PATH_MAX];
  return realpath(path.c_str(), real) ? std::string(real) : std::string();
}

// Whether `path` stays inside the installation whose real path is `root`:
// the deepest folder above it that exists must resolve to the root or below.
// The item itself may be a link; it is then removed or replaced as a link.
bool StaysInside(std::string path, const std::string& root) {
  for (;;) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos || slash == 0) return false;
    path.resize(slash);
    const std::string real = RealPath(path);
    if (!real.empty()) return real == root || real.compare(0, root.size() + 1, root + "/") == 0;
  }
}

}  // namespace

void OstrelStubWindow::ApplyInstallationPatch() {
  // Only a folder named like a patch folder is ever walked and removed.
  const bool named = fTargetFolder.size() > kPatchSuffix.size() &&
                     fTargetFolder.compare(fTargetFolder.size() - kPatchSuffix.size(), kPatchSuffix.size(), kPatchSuffix) == 0;
  if (!named || !DirectoryExists(fTargetFolder)) {
    fw::MsgBox("Patch Not Found" + gLineBreak + gLineBreak + "Patch folder not created at specified location.");
    return;
  }
  SetInvisible(fTargetFolder);
  const auto item = GlobalsKv::MyGetFolderItem(fTargetFolder);
  if (!item) return;
  ApplyPatchFolder(item, "", fTargetFolder.substr(0, fTargetFolder.size() - kPatchSuffix.size()));

  // Tried at once, then every two seconds while it is still there, for a bounded time.
  const int64_t start = fw::Ticks();
  for (;;) {
    AllUsersFullAccess(fTargetFolder);
    DeleteFolderOrApp(fTargetFolder);
    if (!DirectoryExists(fTargetFolder) || fw::Ticks() - start >= kPatchFolderGiveUpTicks) break;
    Sleep(2);
  }
}

void OstrelStubWindow::ApplyPatchFolder(const std::optional<fw::FolderItem>& folder, const std::string& subPath,
                                        const std::string& targetRoot) {
  if (!folder) return;
  const std::string source = MyAbsolutePath(*folder);
  const std::string root = RealPath(targetRoot);
  if (root.empty()) return;
  for (int i = 1, count = folder->Count(); i <= count; ++i) {
    const auto item = folder->TrueItem(i);
    // A link in the patch could bring in anything from anywhere.
    if (!item || item->Alias()) continue;
    std::string name = item->Name();
    const int marker = Pos(kDeleteMarker, name);
    const bool remove = marker > 0;
    if (remove) name.erase(static_cast<size_t>(marker - 1), kDeleteMarker.size());
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) continue;
    const std::string child = subPath.empty() ? name : subPath + "/" + name;
    const std::string target = targetRoot + "/" + child;

    if (item->Directory()) {
      if (!remove)
        ApplyPatchFolder(*item, child, targetRoot);
      else if (DirectoryExists(target) && StaysInside(target, root))
        DeleteFolderOrApp(target);
      continue;
    }
    if (name[0] == '.' || !item->Visible() || !StaysInside(target, root)) continue;
    if (remove) {
      if (FileExists(target)) DeleteFile(target);
      continue;
    }
    if (FileExists(target))
      DeleteFile(target);
    else if (!DirectoryExists(MyExtractFilePath(target)))
      ForceDirectories(MyExtractFilePath(target), false);
    if (!CopyFileB(source + name, target)) fw::MsgBox("Patch Failed: " + target);
  }
}
