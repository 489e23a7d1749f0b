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

  // The bundle ends at the first "/Contents" of the path (an executable
  // named "ContentsSetup" holds a later one); when there is none, the whole
  // path stands, and the steps below find nothing.
  const int p = ViewConst::Pos(ViewConst::GetPathSeparator() + "Contents", path);
  const std::string bundlePath = p > 0 ? path.substr(0, static_cast<size_t>(p - 1)) : path;
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
    // Its bytes as they are: each field decides its own encoding (ParseData).
    if (textFile.Exists() && textFile.Length() > 0) textData = ReadWholeFile(textFile);
  }
  if (data.empty()) return false;

  ViewConst::DecryptStr(data);
  ParseData(data, textData);
  return true;
}
