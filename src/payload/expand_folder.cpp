// The spine of an installation: settle the target, build and unscramble the
// working archive beside it, expand it, and run what follows the expansion.
#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "dialogs/message_modal.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/manifest.h"

using namespace ViewConst;

namespace {

// The payload files in the bundle's Contents/Resources, found from the
// executable. Paths stay empty and the item unset when a link is missing.
struct PayloadPaths {
  std::string data2, firstPiece;
  std::optional<fw::FolderItem> afterProgram;
};

PayloadPaths FindPayload(const std::string& executeAfterName) {
  PayloadPaths found;
  const fw::FolderItem executable = fw::ExecutableFile();
  if (executable.NativePath().empty()) return found;
  const std::string path = MyAbsolutePath(executable);
  const int pos = Pos("/Contents", path);
  if (pos == 0) return found;
  const auto contents = GlobalsKv::MyGetFolderItem(path.substr(0, pos - 1 + 9));
  if (!contents || !contents->Exists()) return found;
  const fw::FolderItem resources = contents->Child("Resources");
  if (!resources.Exists()) return found;
  const std::string resourcesPath = MyAbsolutePath(resources);
  found.data2 = resourcesPath + "Data2";
  found.firstPiece = resourcesPath + "Data#1";
  if (!executeAfterName.empty()) found.afterProgram = resources.Child(executeAfterName);
  return found;
}

}  // namespace

void OstrelStubWindow::ExpandFolder() {
  InfoBtn.SetVisible(false);
  PayloadPaths payload = FindPayload(fExecuteAfterName);

  // A relocated copy of the installer takes over from here, and this
  // process has nothing left to do.
  if (RelocateInstaller(payload.firstPiece)) fw::Quit(0);
  PreInstallCopy();

  // The target: directly in Applications, or where the user says.
  std::string archive;
  if (fApplicationFolder) {
    const std::string applications = MyAbsolutePath(GetApplicationFolder());
    archive = applications + fTargetFolder + ".zip";
    fTargetFolder = applications + fTargetFolder;
  } else {
    const std::string chosen = SelectTargetFolder(GetApplicationPath(), true);
    if (chosen.empty()) {
      fTargetFolder.clear();
      return;
    }
    archive = chosen + "/" + fTargetFolder + ".zip";
    fTargetFolder = chosen + "/" + fTargetFolder;
  }

  // A patch needs the installation it updates, and arrives beside it.
  if (fInstallationPatch && !DirectoryExists(fTargetFolder)) {
    fw::MsgBox(CustomLabel("Patch Failed.  No installation folder exists.", Label(18)));
    return;
  }
  if (fInstallationPatch) {
    fTargetFolder += "Patch";
    if (DirectoryExists(fTargetFolder)) {
      ShowInstallinProgress();
      DeleteFolderOrApp(fTargetFolder);
    }
  }

  // An existing target goes first, once the user agreed if asked to.
  if (DirectoryExists(fTargetFolder)) {
    if (fPromptToReplace) {
      ::YesNoDialog dialog;
      dialog.SetTitle(CustomLabel("Confirmation", Label(10)));
      dialog.ConfirmLabel1.SetText(CustomLabel("Destination folder already exists.", Label(11)));
      dialog.ConfirmLabel2.SetText(CustomLabel("Delete folder to continue?", Label(12)));
      dialog.CancelBtn.SetCaption(CustomLabel("Cancel", Label(3)));
      dialog.OKBtn.SetCaption(CustomLabel("OK", Label(4)));
      dialog.ConfirmLabel3.SetText(fTargetFolder);
      dialog.ShowModal();
      if (dialog.fBtnName != "OKBtn") return;
    }
    DeleteFolderOrApp(fTargetFolder);
    ShowInstallinProgress();
    fw::DoEvents(1);
    Sleep(1);
    if (DirectoryExists(fTargetFolder)) Sleep(3);
    if (DirectoryExists(fTargetFolder)) {
      fw::MsgBox("Install Aborted" + gLineBreak + gLineBreak +
                 "Unable to delete existing installed folder.  Reboot the computer and try again or "
                 "manually delete the previously installed application folder.");
      return;
    }
  }

  // The working archive beside the target: joined or copied, then
  // unscrambled. A failed copy is reported and the run goes on.
  ShowInstallinProgress();
  if (FileExists(archive)) DeleteFile(archive);
  bool copied = true;
  if (FileExists(payload.firstPiece))
    CombineSplitSetup(payload.firstPiece, archive);
  else
    copied = ostrel::PayloadFileIsIntact(payload.data2) && CopyFile(payload.data2, archive);
  if (!copied) fw::MsgBox(CustomLabel("Installation Failed", Label(13)));
  EncryptDecryptFileEnd(archive, false);

  // The opener expands the archive beside itself; the wait follows it. A
  // missing archive opens nothing, as with the system's opener.
  if (const auto item = GlobalsKv::MyGetFolderItem(archive)) {
    if (item->Exists()) fw::Launch(item->NativePath(), true);
    ZipFileProcess(archive, *item);
  }

  if (fInstallationPatch) ApplyInstallationPatch();
  PostInstallCopy();
  ZipFileDelete(archive, payload.afterProgram);

  // A program named by a path macro replaces the one in Resources. One in
  // Resources was already started above; this launch comes with the wait
  // for its answer.
  if (!fExecuteAfterName.empty() && SpecialPath(fExecuteAfterName) && FileExists(fExecuteAfterName))
    payload.afterProgram = GlobalsKv::MyGetFolderItem(fExecuteAfterName);
  if (payload.afterProgram) {
    if (payload.afterProgram->Exists()) fw::Launch(payload.afterProgram->NativePath(), true);
    CommunicateWithExecutable();
  }
}
