// Finding and reading the two record files inside the bundle: Data, the
// enciphered switches and pictures, and TextData, the texts and lists.
#include <fstream>
#include <iterator>

#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"

namespace {

// The whole content of a file, as raw bytes; empty when it cannot be opened.
std::string ReadWholeFile(const fw::FolderItem& item) {
  std::ifstream in(item.NativePath(), std::ios::binary);
  if (!in) return {};
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Contents/Resources of the bundle that holds the running executable, or
// nothing when any step of the way is missing.
std::optional<fw::FolderItem> ResourcesFolder() {
  std::string path = ViewConst::MyAbsolutePath(fw::ExecutableFile());
  if (path.empty()) return std::nullopt;

  // The bundle may itself lie in a folder named "Contents": the last hit is
  // the bundle's own, as GetApplicationPath counts it.
  const std::string marker = ViewConst::GetPathSeparator() + "Contents";
  int p = ViewConst::Pos(marker, path);
  for (int next = p; next > 0; next = ViewConst::PosAfter(marker, path, next + 1, false)) p = next;
  std::string bundleName = path;
  if (p > 0) bundleName = ViewConst::ExtractFileName(path.substr(0, p - 1));

  // A bare name resolves in the folder that holds the bundle.
  const std::string bundlePath =
      (!bundleName.empty() && bundleName[0] == '/') ? bundleName : ViewConst::GetApplicationPath() + bundleName;
  auto bundle = GlobalsKv::MyGetFolderItem(bundlePath);
  if (!bundle || !bundle->Exists()) return std::nullopt;
  fw::FolderItem contents = bundle->Child("Contents");
  if (!contents.Exists()) return std::nullopt;
  fw::FolderItem resources = contents.Child("Resources");
  if (!resources.Exists()) return std::nullopt;
  return resources;
}

}  // namespace

bool OstrelStubWindow::ReadData() {
  std::string data, textData;
  if (auto resources = ResourcesFolder()) {
    fw::FolderItem dataFile = resources->Child("Data");
    if (dataFile.Exists() && dataFile.Length() > 0) data = ReadWholeFile(dataFile);
    fw::FolderItem textFile = resources->Child("TextData");
    if (textFile.Exists() && textFile.Length() > 0) textData = fw::BytesToUtf8(ReadWholeFile(textFile));
  }
  if (data.empty()) return false;

  ViewConst::DecryptStr(data);
  ParseData(data, textData);
  return true;
}
