// The two document windows: design layout, anchors, and the button that closed them.
#include "dialogs/document_dialogs.h"

using fw::ControlKind;

namespace {

constexpr fw::Anchors kAllSides{true, true, true, true};
constexpr fw::Anchors kBottomRight{false, false, true, true};

}  // namespace

LicenseAgreementWindow::LicenseAgreementWindow()
    : fw::Window("License Agreement", 690, 410),
      AgreementEdit(Add(ControlKind::TextArea, "AgreementEdit", {20, 14, 650, 344})),
      QuitBtn(Add(ControlKind::PushButton, "QuitBtn", {498, 370, 80, 20})),
      OKBtn(Add(ControlKind::PushButton, "OKBtn", {590, 370, 80, 20})) {
  frame.modal = true;
  frame.resizable = true;
  SetMinimumSize(690, 410);

  AgreementEdit.SetMultiline(true);
  AgreementEdit.SetReadOnly(true);
  AgreementEdit.SetAnchors(kAllSides);
  QuitBtn.SetCaption("Quit");
  QuitBtn.SetCancel(true);  // Escape declines, as in the HTML dialog
  QuitBtn.SetAnchors(kBottomRight);
  OKBtn.SetCaption("I Agree");
  OKBtn.SetDefault(true);
  OKBtn.SetAnchors(kBottomRight);

  QuitBtn.Action = [this] { QuitBtn_Action(); };
  OKBtn.Action = [this] { OKBtn_Action(); };
}

void LicenseAgreementWindow::QuitBtn_Action() {
  fBtnName = "QuitBtn";
  Hide();
}

void LicenseAgreementWindow::OKBtn_Action() {
  fBtnName = "OKBtn";
  Hide();
}

THtmlNotesDlg::THtmlNotesDlg()
    : fw::Window("", 762, 511),
      MyHTMLViewer(Add(ControlKind::HTMLViewer, "MyHTMLViewer", {0, 0, 762, 460})),
      ContinueBtn(Add(ControlKind::PushButton, "ContinueBtn", {642, 472, 100, 30})),
      QuitBtn(Add(ControlKind::PushButton, "QuitBtn", {530, 472, 100, 30})) {
  frame.modal = true;
  frame.resizable = true;

  MyHTMLViewer.SetAnchors(kAllSides);
  QuitBtn.SetCaption("Quit");
  QuitBtn.SetCancel(true);
  QuitBtn.SetAnchors(kBottomRight);
  ContinueBtn.SetCaption("Continue");
  ContinueBtn.SetDefault(true);
  ContinueBtn.SetAnchors(kBottomRight);

  ContinueBtn.Action = [this] { ContinueBtn_Action(); };
  QuitBtn.Action = [this] { QuitBtn_Action(); };
}

void THtmlNotesDlg::ContinueBtn_Action() {
  fBtnName = "ContinueBtn";
  Hide();
}

void THtmlNotesDlg::QuitBtn_Action() {
  fBtnName = "QuitBtn";
  Hide();
}
