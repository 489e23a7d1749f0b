// After the main payload: the chosen archive, each ticked option (from the
// bundle or a URL), the release notes and the completion URL.
#include "choices/choice_entries.h"
#include "choices/choice_folders.h"
#include "payload/staged_install.h"
#include "core/ostrel_stub_window.h"
#include "dialogs/document_dialogs.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"

namespace {

enum : size_t { kOkLabel = 4, kPleaseWaitLabel = 21, kInstallingOptionsLabel = 22, kReleaseNotesLabel = 26 };

void ShowMessage(OstrelStubWindow& w, const std::string& text) {
  w.MessageLabel.SetText(text);
  w.Refresh();
  fw::DoEvents(0);
}

// A bundle archive, checked against its pin before anything is expanded.
// One that is not there is no damaged one: the caller says it failed.
bool ExpandBundleArchive(const std::string& zip, const std::string& pin, const std::string& destination) {
  if (!ViewConst::FileExists(zip)) return false;
  if (!ostrel::ArchiveMatchesPin(pin, zip)) {
    fw::MsgBox(ostrel::DamagedArchiveMessage(ViewConst::ExtractFileName(zip)));
    return false;
  }
  return ostrel::ExpandArchiveInto(zip, destination, true);
}

// The folder sub-field names one folder in the target, or the target itself
// (empty); one that could lead out of it ("..", "/", a path) is refused.
bool IsFolderInTarget(const std::string& name) { return name.empty() || ostrel::IsPlainFolderName(name); }

void InstallChoice(OstrelStubWindow& w, const std::string& choice, const std::string& resources) {
  // Every entry is looked at: of several with this caption, the last decides.
  std::optional<std::string> chosen;
  for (const std::string& entry : ostrel::ChoiceEntries(w.fInstallChoices))
    if (ViewConst::NonCaseMatch(ostrel::EntryField(entry, 1), choice)) chosen = entry;
  if (!chosen || !IsFolderInTarget(ostrel::EntryField(*chosen, 3))) {
    fw::MsgBox("Install failed for selected choice");
    return;
  }
  const std::string zip = resources + ViewConst::ExtractFileName(ostrel::EntryField(*chosen, 2));
  const ostrel::Placement place = ostrel::PlaceInTarget(w.fTargetFolder, ostrel::EntryField(*chosen, 3), "_Choice");
  if (!ExpandBundleArchive(zip, ostrel::EntryPin(*chosen), place.destination)) {
    fw::MsgBox("Install failed for selected choice");
    return;
  }
  if (!place.mergeTarget.empty()) ostrel::MergeStagedFolder(place.destination, place.mergeTarget);
}

// The text behind the last "/" of a URL, its query included.
std::string DownloadName(std::string url) {
  for (size_t slash; (slash = url.find('/')) != std::string::npos;) url = url.substr(slash + 1);
  return url;
}

void InstallOptions(OstrelStubWindow& w, const std::string& options, const std::string& resources) {
  const std::string pleaseWait = w.CustomLabel("Please Wait", w.Label(kPleaseWaitLabel));
  // In the record's order, each ticked entry in full before the next.
  for (const std::string& entry : ostrel::ChoiceEntries(w.fInstallOptions)) {
    const std::string caption = ostrel::EntryField(entry, 1);
    const std::string payload = ostrel::EntryField(entry, 2);
    if (ViewConst::FindField(options, ",", caption) == 0) continue;
    if (!IsFolderInTarget(ostrel::EntryField(entry, 3))) {
      fw::MsgBox("Install failed for option " + caption);
      continue;
    }
    const ostrel::Placement place = ostrel::PlaceInTarget(w.fTargetFolder, ostrel::EntryField(entry, 3), "_Option");
    bool ok;
    if (ViewConst::Pos("http", payload) == 1) {
      ShowMessage(w, w.CustomLabel("Installing Options", w.Label(kInstallingOptionsLabel)) + " " + caption);
      ok = w.DownloadURL(payload, DownloadName(payload), place.destination, place.staged, ostrel::EntryPin(entry));
      ShowMessage(w, pleaseWait);
    } else {
      ok = ExpandBundleArchive(resources + ViewConst::ExtractFileName(payload), ostrel::EntryPin(entry),
                               place.destination);
    }
    if (ok && !place.mergeTarget.empty()) ostrel::MergeStagedFolder(place.destination, place.mergeTarget);
    if (!ok) fw::MsgBox("Install failed for option " + caption);
  }
}

// One button; the answer is not looked at, it only holds the installer.
void ShowReleaseNotes(OstrelStubWindow& w) {
  const std::string& notes = w.fPostInstallNotes;
  const std::string title = w.CustomLabel("Release Notes", w.Label(kReleaseNotesLabel));
  const std::string ok = w.CustomLabel("OK", w.Label(kOkLabel));
  w.MyProcessToTop();
  if (fw::FindIgnoreCase(notes, "<HTML>") != std::string::npos) {
    THtmlNotesDlg dlg;
    dlg.SetTitle(title);
    dlg.QuitBtn.SetVisible(false);
    dlg.ContinueBtn.SetCaption(ok);
    dlg.MyHTMLViewer.LoadPage(notes, fw::SpecialFolder(fw::SpecialFolderKind::Temporary).NativePath());
    dlg.ShowModal();
    return;
  }
  LicenseAgreementWindow dlg;
  dlg.SetTitle(title);
  dlg.QuitBtn.SetVisible(false);
  dlg.OKBtn.SetCaption(ok);
  dlg.AgreementEdit.SetText(notes);
  dlg.ShowModal();
}

}  // namespace

void OstrelStubWindow::ExpandChoiceAndOptions(const std::string& choices, const std::string& options) {
  if (fTargetFolder.empty()) return;
  const std::string resources = ostrel::ResourcesFolderPath();
  if (!choices.empty() || !options.empty()) {
    MyProcessToTop();
    ShowMessage(*this, CustomLabel("Please Wait", Label(kPleaseWaitLabel)));
  }
  if (!choices.empty()) InstallChoice(*this, choices, resources);
  if (!options.empty()) InstallOptions(*this, options, resources);
  if (!fPostInstallNotes.empty()) ShowReleaseNotes(*this);
  if (!fCompletionURL.empty()) fw::ShowURL(fCompletionURL);
}
