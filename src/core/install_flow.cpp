// What follows a press of Install, the Info text, and the folder chooser.
#include "core/ostrel_stub_window.h"
#include "dialogs/document_dialogs.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"

namespace {

// Labels of the custom-label list that the document dialogs use.
enum : size_t {
  kQuitLabel = 1,
  kOkLabel = 4,
  kAgreeLabel = 5,
  kAgreementTitleLabel = 7,
  kInfoTitleLabel = 8,
  kNotesTitleLabel = 25,
};

// Plain notes this short show in a dialog made this much lower.
constexpr size_t kShortNotesLength = 500;
constexpr int kShortNotesTrim = 200;

bool IsHtml(const std::string& text) { return fw::FindIgnoreCase(text, "<HTML>") != std::string::npos; }

size_t CharacterCount(const std::string& utf8) {
  size_t n = 0;
  for (unsigned char c : utf8)
    if ((c & 0xC0) != 0x80) ++n;
  return n;
}

// How one document is shown. The Quit button keeps the dialog's own caption
// unless the setup's label renames it.
struct Document {
  std::string title;
  std::string acceptCaption;
  bool showQuit = true;
  std::string quitLabel;
  bool shortenWhenShort = false;
};

std::string TemporaryBase() { return fw::SpecialFolder(fw::SpecialFolderKind::Temporary).NativePath(); }

// Shows the text in the dialog its kind calls for; true when it was accepted.
bool ShowDocument(const std::string& text, const Document& doc) {
  if (IsHtml(text)) {
    THtmlNotesDlg dlg;
    dlg.SetTitle(doc.title);
    dlg.ContinueBtn.SetCaption(doc.acceptCaption);
    dlg.QuitBtn.SetCaption(OstrelStubWindow::CustomLabel(dlg.QuitBtn.Caption(), doc.quitLabel));
    dlg.QuitBtn.SetVisible(doc.showQuit);
    // With one button it is also the way out that Escape takes.
    dlg.ContinueBtn.SetCancel(!doc.showQuit);
    dlg.MyHTMLViewer.LoadPage(text, TemporaryBase());
    dlg.ShowModal();
    return dlg.fBtnName == "ContinueBtn";
  }
  LicenseAgreementWindow dlg;
  dlg.SetTitle(doc.title);
  dlg.OKBtn.SetCaption(doc.acceptCaption);
  dlg.QuitBtn.SetCaption(OstrelStubWindow::CustomLabel(dlg.QuitBtn.Caption(), doc.quitLabel));
  dlg.QuitBtn.SetVisible(doc.showQuit);
  dlg.OKBtn.SetCancel(!doc.showQuit);
  dlg.AgreementEdit.SetText(text);
  if (doc.shortenWhenShort && CharacterCount(text) < kShortNotesLength)
    dlg.SetHeight(dlg.Height() - kShortNotesTrim);
  dlg.ShowModal();
  return dlg.fBtnName == "OKBtn";
}

}  // namespace

void OstrelStubWindow::OKBtnClicked() {
  bool goOn = true;
  if (!fPreInstallNotes.empty()) {
    const bool html = IsHtml(fPreInstallNotes);
    goOn = ShowDocument(fPreInstallNotes,
                        {CustomLabel("Pre-Installation Notes", Label(kNotesTitleLabel)),
                         CustomLabel(html ? "I Agree" : "OK", Label(kOkLabel)), true, Label(kQuitLabel), true});
  }
  if (goOn && !fAgreement.empty()) {
    goOn = ShowDocument(fAgreement, {CustomLabel("License Agreement", Label(kAgreementTitleLabel)),
                                     CustomLabel("I Agree", Label(kAgreeLabel)), true, Label(kQuitLabel)});
  }

  std::string choices, options;
  if (goOn) {
    InstallBtn.SetEnabled(false);
    goOn = SelectChoiceAndOptions(choices, options);
    fChoiceAnswer = choices;  // for a relocated copy, which does not ask again
    fOptionsAnswer = options;
  }
  if (goOn) InstallAndQuit(choices, options);
}

void OstrelStubWindow::InstallAndQuit(const std::string& choices, const std::string& options) {
  // A failed installation ends the run: nothing may build on it.
  ExpandFolder();
  if (!fInstallationFailed) {
    ExpandChoiceAndOptions(choices, options);
    Cleanup();
  }
  fw::Quit(0);
}

void OstrelStubWindow::InfoBtnClicked() {
  // One button only: the text is read, nothing is decided.
  ShowDocument(fInfo, {CustomLabel("Information", Label(kInfoTitleLabel)), CustomLabel("OK", Label(kOkLabel)),
                       false, std::string()});
}

std::string OstrelStubWindow::SelectTargetFolder(const std::string& startPath, bool emptyOnCancel) {
  fw::FolderDialog dialog;
  dialog.actionCaption = "Select";
  dialog.title = CustomLabel(dialog.title, Label(14));
  dialog.actionCaption = CustomLabel(dialog.actionCaption, Label(15));
  dialog.cancelCaption = CustomLabel(dialog.cancelCaption, Label(3));

  if (auto start = GlobalsKv::MyGetFolderItem(startPath)) {
    dialog.initialDirectory = start->NativePath();
  } else {
    // The folder that holds the application.
    std::string appFolder = ViewConst::GetApplicationPath();
    if (appFolder.size() > 1) ViewConst::DropTrailingPathSeparator(appFolder);
    dialog.initialDirectory = appFolder;
  }

  const std::optional<std::string> chosen = fw::CurrentUI().SelectFolder(dialog);
  if (!chosen) return emptyOnCancel ? std::string() : startPath;

  const fw::FolderItem folder(*chosen);
  if (!folder.IsWriteable()) {
    fw::MsgBox(CustomLabel("Cannot write to selected location.", Label(0)));
    return {};
  }
  std::string path = ViewConst::MyAbsolutePath(folder);
  if (!path.empty() && path.back() == '/') ViewConst::DropTrailingPathSeparator(path);
  return path;
}
