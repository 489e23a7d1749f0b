// Synchronous expansion for the choice, option and clean-up archives. The
// caller waits, but the window does not freeze: the work runs on a thread of
// its own while the event loop keeps turning.
//
// All or nothing: a folder the archive makes (or replaces) is expanded into a
// hidden folder beside it and moved into place once whole, so that an
// archive found damaged halfway leaves nothing of itself, and a replaced
// folder stays as it was.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/own_files.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/zip/zip_expand.h"

namespace ViewConst {
namespace {

bool IsEmptyFolder(const std::string& path) {
  std::error_code ec;
  return std::filesystem::is_empty(path, ec) && !ec;
}

// A new hidden folder of the stub's own beside `folder` (one a killed run
// left behind is told apart by its name); empty when none can be made.
std::string MakeStagingFolder(const std::string& folder) {
  const std::filesystem::path target(folder);
  std::error_code ec;
  std::filesystem::create_directories(target.parent_path(), ec);
  return fw::CreateOwnFolder(target.parent_path().string(), ".unpacking", 0777);
}

bool Expand(const std::string& archive, const std::string& folder) {
  ostrel::ExpandResult result;
  std::atomic<bool> finished{false};
  // jthread: should the event loop throw, leaving still waits for the worker.
  std::jthread worker([&] {
    result = ostrel::ExpandZipArchive(archive, folder);
    finished.store(true, std::memory_order_release);
  });
  while (!finished.load(std::memory_order_acquire)) fw::DoEvents(10);
  worker.join();
  return result.ok;
}

}  // namespace

bool ZipFileToFolder(const std::string& archive, const std::string& folder, bool replace) {
  if (!GlobalsKv::MyGetFolderItem(folder) || !GlobalsKv::MyGetFolderItem(archive))
    throw fw::NilObjectException("ZipFileToFolder needs absolute paths: \"" + archive + "\", \"" + folder + "\"");
  // Into a folder that already holds files the archive's entries are merged
  // where they stand.
  const bool exists = DirectoryExists(folder);
  if (exists && !replace && !IsEmptyFolder(folder)) return Expand(archive, folder);

  const std::string staging = MakeStagingFolder(folder);
  if (staging.empty()) return false;
  if (!Expand(archive, staging)) {
    DeleteFolderOrApp(staging);
    return false;
  }
  if (exists && replace) DeleteFolderOrApp(folder);
  // An empty folder is taken over; anything else standing there is kept.
  if (exists && !replace) rmdir(folder.c_str());
  if (fw::RenameNoReplace(staging, folder) != 0) {
    DeleteFolderOrApp(staging);
    return false;
  }
  return true;
}

}  // namespace ViewConst
