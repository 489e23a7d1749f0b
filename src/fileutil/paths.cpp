// Splitting and joining path strings, and where the application stands.
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"
#include "relocation/gatekeeper_translocation.h"

namespace ViewConst {
namespace {

// Offset of the extension's dot found scanning back from the end, or npos
// when a "/" or the start comes first: a dot in a parent folder never counts.
size_t ExtensionDot(const std::string& path) {
  for (size_t i = path.size(); i-- > 0;) {
    if (path[i] == '.') return i;
    if (path[i] == '/') return std::string::npos;
  }
  return std::string::npos;
}

std::string DropLast(std::string s) {
  if (!s.empty()) s.pop_back();
  return s;
}

}  // namespace

std::string GetPathSeparator() { return "/"; }

std::string ExtractFilePath(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string MyExtractFilePath(const std::string& path) {
  std::string folder = DropLast(ExtractFilePath(path));
  // An item directly inside a bundle belongs to the folder that holds the
  // bundle; one step only, a bundle inside a bundle is not unwound.
  if (fw::EqualsIgnoreCase(ExtractFileExt(folder), ".app")) folder = DropLast(ExtractFilePath(folder));
  return folder;
}

std::string ExtractFileName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string ExtractFileExt(const std::string& path) {
  const size_t dot = ExtensionDot(path);
  return dot == std::string::npos ? std::string() : path.substr(dot);
}

std::string ChangeFileExt(const std::string& path, const std::string& ext) {
  const size_t dot = ExtensionDot(path);
  return (dot == std::string::npos ? path : path.substr(0, dot)) + ext;
}

void DropTrailingPathSeparator(std::string& path) {
  if (!path.empty() && path.back() == '/') path.pop_back();
}

std::string DirectoryPathExtract(const std::string& path, int n) {
  DebugConsole("DPE0");
  std::string result;
  DebugConsole("DPE1");
  int seen = 0;
  for (size_t at = 0; n >= 1;) {
    const size_t hit = path.find('/', at);
    DebugConsole("DPE2");
    if (hit == std::string::npos) {
      // Exactly one separator short: the last level is the whole path.
      if (seen == n - 1) result = path;
      break;
    }
    if (++seen == n) {
      result = path.substr(0, hit);
      break;
    }
    at = hit + 1;
  }
  DebugConsole("DPE3");
  return result;
}

std::string MyAbsolutePath(const fw::FolderItem& item) {
  std::string path = item.NativePath();
  if (item.Directory() && !path.empty() && path.back() != '/') path += '/';
  return path;
}

std::string MyAbsolutePath(const std::optional<fw::FolderItem>& item) {
  return item ? MyAbsolutePath(*item) : std::string();
}

std::string GetApplicationPath() {
  const std::string exe = fw::ExecutableFile().NativePath();
  // The bundle may itself lie in a folder named "Contents": the last hit is
  // the bundle's own.
  int last = Pos("/Contents", exe);
  for (int next = last; next > 0; next = PosAfter("/Contents", exe, next + 1, false)) last = next;
  // An executable outside a bundle stands for itself: its own folder.
  const std::string folder = ExtractFilePath(last == 0 ? exe : exe.substr(0, static_cast<size_t>(last - 1)));
  // A place the system moved a downloaded application to says nothing of
  // where the user put it: offered a way out, unless told to pass it.
  if (Pos("AppTranslocation", folder) > 0 && !gIgnoreTranslocationError) ostrel::GatekeeperTranslocationRoute();
  return folder;
}

fw::FolderItem GetApplicationFolder() { return fw::SpecialFolder(fw::SpecialFolderKind::Applications); }

}  // namespace ViewConst
