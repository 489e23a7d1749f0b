#include "relocation/gatekeeper_translocation.h"

#include "framework/runtime.h"

using fw::ControlKind;

namespace {

const char* const kExplanation =
    "Gatekeeper is blocking this application due to the process in which it was downloaded to your computer, "
    "because it was launched from within the Downloads folder or because of a GateKeeper OS bug.  "
    "\r\r"
    "To correct the issue, first click Cancel and move this app to the Applications folder.  If this dialog is "
    "presented again, carefully enter the exact path to the Application including the suffix .app and your Admin "
    "account password below, then click OK.";

}  // namespace

TGatekeeperTranslocationDlg::TGatekeeperTranslocationDlg()
    : fw::Window("Gatekeeper Translocation Issue", 600, 237),
      Label1(Add(ControlKind::Label, "Label1", {20, 19, 560, 127})),
      Label2(Add(ControlKind::Label, "Label2", {20, 164, 100, 20})),
      AppPathEdit(Add(ControlKind::TextField, "AppPathEdit", {139, 163, 441, 22})),
      Label3(Add(ControlKind::Label, "Label3", {20, 196, 100, 20})),
      AdminPasswordEdit(Add(ControlKind::TextField, "AdminPasswordEdit", {139, 195, 147, 22})),
      CancelBtn(Add(ControlKind::PushButton, "CancelBtn", {408, 196, 80, 20})),
      OKBtn(Add(ControlKind::PushButton, "OKBtn", {500, 196, 80, 20})) {
  frame.modal = true;
  frame.resizable = false;
  Label1.SetMultiline(true);
  Label1.SetText(kExplanation);
  Label2.SetText("Application Path:");
  Label3.SetText("Admin Password:");
  CancelBtn.SetCaption("Cancel");
  CancelBtn.SetCancel(true);
  OKBtn.SetCaption("OK");
  OKBtn.SetDefault(true);
  CancelBtn.Action = [this] { CancelBtn_Action(); };
  OKBtn.Action = [this] { OKBtn_Action(); };
}

void TGatekeeperTranslocationDlg::CancelBtn_Action() {
  fBtnName = "CancelBtn";
  Hide();
}

void TGatekeeperTranslocationDlg::OKBtn_Action() {
  fBtnName = "OKBtn";
  Hide();
}

namespace ostrel {

void GatekeeperTranslocationRoute() {
  {
    TGatekeeperTranslocationDlg dialog;
    dialog.ShowModal();
    if (dialog.fBtnName == "OKBtn") fw::ClearQuarantine(dialog.AppPathEdit.Text(), dialog.AdminPasswordEdit.Text());
  }
  // The user starts the installer again, moved or cleared.
  fw::Quit(0);
}

}  // namespace ostrel
