// The installer's last act: a running program cannot safely delete its own
// bundle, so it unpacks its clean-up program from Data3 into the temporary
// folder, leaves it a one-line instruction and starts it. The clean-up
// program deletes once the installer has ended; no answer is awaited.
#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/manifest.h"

using namespace ViewConst;

void OstrelStubWindow::Cleanup() {
  if (fCleanup == 0) return;
  if (fCleanup == 3 && !GlobalsKv::YesNoDlg("Delete this Setup file when finished?")) return;
  if (fCleanup == 4 && !GlobalsKv::YesNoDlg("Delete folder containing Setup file when finished?")) return;

  const std::string executable = fw::ExecutableFile().NativePath();
  const int contents = Pos("/Contents", executable);
  if (contents == 0) return;
  const std::string bundle = executable.substr(0, static_cast<size_t>(contents - 1));
  // Any other mode gives an empty instruction, which deletes nothing.
  std::string instruction;
  if (fCleanup == 1 || fCleanup == 3) instruction = "DeleteFile=" + bundle;
  if (fCleanup == 2 || fCleanup == 4) instruction = "DeleteFolder=" + MyExtractFilePath(bundle);

  const std::string source = bundle + "/Contents/Resources/Data3";
  // A damaged clean-up program is named and not started.
  if (!FileExists(source) || !ostrel::PayloadFileIsIntact(source)) return;
  const fw::FolderItem temporary = fw::SpecialFolder(fw::SpecialFolderKind::Temporary);
  fw::FolderItem(source).CopyFileTo(temporary.Child("Data3"));
  const std::string temp = MyAbsolutePath(temporary);

  EncryptDecryptFileEnd(temp + "Data3", false);
  if (!RenameFile(temp + "Data3", temp + "PostInstallCleanup.zip")) {
    fw::MsgBox("PostInstallCleanup Extraction Failed 1.");
    return;
  }
  if (!ZipFileToFolder(temp + "PostInstallCleanup.zip", temp + "PostInstallCleanup.app", false)) {
    fw::MsgBox("PostInstallCleanup Extraction Failed 2.");
    return;
  }
  DataFileWrite(temp + "PostInstallCleanup.data", instruction);
  if (const auto program = GlobalsKv::MyGetFolderItem(temp + "PostInstallCleanup.app"))
    fw::Launch(program->NativePath(), true);
}
