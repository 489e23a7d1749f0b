// The two actions of the list that run before anything is installed: remove
// what stands in the way, save what the installation would overwrite. The
// walk is silent: other entries and failures pass without a word.
#include "actions/action_list.h"
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/protected_folders.h"
#include "framework/runtime.h"
#include "framework/text.h"

using namespace ViewConst;

void OstrelStubWindow::PreInstallCopy() {
  for (const auto& [key, value, text] : ostrel::actions::ParseActionList(fPostCopy)) {
    // Paths are taken as written, with no macro; a kept folder is passed over.
    if (fw::EqualsIgnoreCase(key, "preinstalldelete")) {
      const bool kept = fw::IsProtectedFromRemoval(value) || fw::IsSharedFolder(value);
      if (!kept && DirectoryExists(value))
        DeleteFolderOrApp(value);
      else if (!kept && FileExists(value))
        DeleteFile(value);
    } else if (fw::EqualsIgnoreCase(key, "preinstallcopy")) {
      const std::string src = NthField(value, ";", 1), dst = NthField(value, ";", 2);
      const bool folder = DirectoryExists(src), file = !folder && FileExists(src);
      // What is already saved stays as it was.
      if (!DirectoryExists(dst) && !FileExists(dst)) {
        if (folder)
          CopyFolder(src, dst);
        else if (file)
          CopyFile(src, dst);
      }
    }
    fw::DoEvents(0);
  }
}
