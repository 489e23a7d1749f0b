// Synchronous expansion for the choice, option and clean-up archives. The
// caller waits, but the window does not freeze: the work runs on a thread of
// its own while the event loop keeps turning.
#include <atomic>
#include <thread>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/zip/zip_expand.h"

namespace ViewConst {

bool ZipFileToFolder(const std::string& archive, const std::string& folder, bool replace) {
  if (replace && DirectoryExists(folder)) DeleteFolderOrApp(folder);
  if (!GlobalsKv::MyGetFolderItem(folder) || !GlobalsKv::MyGetFolderItem(archive))
    throw fw::NilObjectException("ZipFileToFolder needs absolute paths: \"" + archive + "\", \"" + folder + "\"");

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

}  // namespace ViewConst
