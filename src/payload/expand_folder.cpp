// The spine of an installation: settle the target, build and unscramble the
// working archive beside it, expand it, and run what follows the expansion.
// Everything is staged (payload/staged_install.h): the target's place holds
// the old installation until the new one is whole, and a failure puts back
// what was there and ends the run.
#include <cstring>

#include "actions/action_list.h"
#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "dialogs/message_modal.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/archives.h"
#include "payload/expansion_wait.h"
#include "payload/manifest.h"
#include "payload/staged_install.h"
#include "payload/zip/zip_opener.h"

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

std::string Paragraphs(const std::string& heading, const std::string& sentence) {
  return heading + gLineBreak + gLineBreak + sentence;
}

}  // namespace

void OstrelStubWindow::ExpandFolder() {
  InfoBtn.SetVisible(false);
  fInstallationFailed = false;
  const std::string failedHeading = CustomLabel("Installation Failed", Label(13));
  // A careless record must not name the chosen folder itself, or one beside it.
  const std::string name = fTargetFolder;
  if (!ostrel::IsPlainFolderName(name)) {
    fw::MsgBox(Paragraphs(failedHeading, "The setup names no valid target folder."));
    fInstallationFailed = true;
    return;
  }
  PayloadPaths payload = FindPayload(fExecuteAfterName);

  // A relocated copy of the installer takes over from here, and this
  // process has nothing left to do.
  if (RelocateInstaller(payload.firstPiece)) fw::Quit(0);
  PreInstallCopy();

  // The target: directly in Applications, or where the user says.
  std::string folder;
  if (fApplicationFolder) {
    folder = MyAbsolutePath(GetApplicationFolder());
    if (folder.size() > 1) DropTrailingPathSeparator(folder);
  } else {
    folder = SelectTargetFolder(GetApplicationPath(), true);
    if (folder.empty()) {
      fTargetFolder.clear();
      fInstallationFailed = true;  // nothing installed: nothing may follow
      return;
    }
  }
  fTargetFolder = (folder == "/" ? "" : folder) + "/" + name;
  // For a patch too, the installation itself, not its patch folder.
  ostrel::actions::SetInstallFolder(fTargetFolder);
  // What a killed run left here is put right before anything is looked at.
  ostrel::RecoverLeftovers(folder);

  // A patch needs the installation it updates, and arrives beside it.
  if (fInstallationPatch && !DirectoryExists(fTargetFolder)) {
    fw::MsgBox(CustomLabel("Patch Failed.  No installation folder exists.", Label(18)));
    fInstallationFailed = true;
    return;
  }
  if (fInstallationPatch) {
    fTargetFolder += "Patch";
    if (DirectoryExists(fTargetFolder)) {
      ShowInstallinProgress();
      DeleteFolderOrApp(fTargetFolder);
    }
  }

  // An existing target goes aside, once the user agreed if asked to; it is
  // deleted only when its successor is whole.
  ostrel::InstallStage stage;
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
      if (dialog.fBtnName != "OKBtn") {
        // Declined: the earlier installation stays as it is, and no choice
        // or option is merged into it.
        fInstallationFailed = true;
        return;
      }
    }
    int error = stage.Open(folder, name);
    if (!error) error = stage.PutAside(fTargetFolder);
    if (error) {
      // What cannot be moved aside is never deleted in its place: a replace
      // that could not be undone would leave the user with nothing.
      stage.Close();
      fw::MsgBox(Paragraphs(failedHeading, "The earlier installation in " + fTargetFolder +
                                               " could not be moved aside to be replaced (" +
                                               std::strerror(error) + "), so it was kept as it is."));
      fInstallationFailed = true;
      return;
    } else {
      ShowInstallinProgress();
      fw::DoEvents(1);
    }
  }

  // Whatever fails from here leaves the user with what they had.
  auto fail = [&](const std::string& why) {
    const bool hadOld = stage.HasOld();
    std::string text = Paragraphs(failedHeading, why);
    if (stage.IsOpen() && !stage.RollBack())
      text += gLineBreak + gLineBreak + "The previous installation is kept in " + stage.Path() + ".";
    else if (hadOld)
      text += gLineBreak + gLineBreak + "The previous installation was kept.";
    fw::MsgBox(text);
    fInstallationFailed = true;
  };

  // The working archive beside the target: joined from the pieces and then
  // unscrambled, or unscrambled as Data2 is copied. The joining writes the
  // pieces as they are to `archive`, a path in the stage that does not exist
  // yet; a joining that unscrambles on its way would take the rewrite below
  // with it.
  ShowInstallinProgress();
  if (const int error = stage.Open(folder, name))
    return fail("The folder " + folder + " cannot be written (" + std::strerror(error) + ").");
  const std::string archive = stage.Archive();
  ostrel::CopyResult copied;
  if (FileExists(payload.firstPiece)) {
    CombineSplitSetup(payload.firstPiece, archive);
    const int error = ostrel::RewriteThroughByteStep(archive, false);
    copied = {error < 0 ? ENOENT : error, error < 0};
  } else {
    // Checked against the bundle's manifest on the same pass.
    const ostrel::PayloadManifest manifest = ostrel::PayloadManifest::OfRunningBundle();
    const ostrel::ManifestEntry* expected = manifest.Find("Data2");
    ostrel::PayloadCheck check(expected);
    ostrel::BytesSeen seen;
    if (expected) seen = [&check](const void* data, size_t size) { check.Add(data, size); };
    copied = ostrel::CopyThroughByteStep(payload.data2, archive, false, seen);
    if (!copied.error && !check.Matches()) return fail(ostrel::DamagedFileMessage("Data2"));
  }
  if (copied.error)
    return fail((copied.inSource ? "The setup's payload cannot be read" : "The payload cannot be copied to " + folder) +
                " (" + std::strerror(copied.error) + ").");

  // The opener expands the archive beside itself; the wait follows it. The
  // archive must hold the target's folder and nothing else.
  const std::string top = fw::FolderItem(fTargetFolder).Name();
  ostrel::SetRulesForLaunch(archive, {top});
  fExpansionError.clear();
  if (const auto item = GlobalsKv::MyGetFolderItem(archive)) {
    fw::Launch(item->NativePath(), true);
    ZipFileProcess(archive, *item);
  }
  const std::string shownName = name + ".zip";
  if (!fExpansionError.empty())
    return fail("The archive " + shownName + " could not be expanded: " + fExpansionError + ".");
  if (const int error = stage.Commit(top, fTargetFolder))
    return fail("The archive " + shownName + " could not be put in place (" + std::strerror(error) + ").");

  if (fInstallationPatch) ApplyInstallationPatch();
  PostInstallCopy();
  ZipFileDelete(archive, payload.afterProgram);
  stage.Close();

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
