// The message window and the folder-replacement confirmation: their design
// layout and what their buttons do.
#include "dialogs/message_modal.h"

using fw::ControlKind;

namespace {

// Design geometry of the message window; the sizing steps start from here
// and MessageModalEndSize returns to it.
constexpr fw::Rect kBtn1{288, 203, 80, 20};
constexpr fw::Rect kBtn2{380, 203, 80, 20};
constexpr fw::Rect kBtn3{472, 203, 80, 20};
constexpr fw::Rect kMessageText{20, 14, 532, 177};

}  // namespace

MessageModal::MessageModal()
    : fw::Window("Error Message", 572, 243),
      Btn1(Add(ControlKind::PushButton, "Btn1", kBtn1)),
      Btn2(Add(ControlKind::PushButton, "Btn2", kBtn2)),
      Btn3(Add(ControlKind::PushButton, "Btn3", kBtn3)),
      MessageText(Add(ControlKind::Label, "MessageText", kMessageText)) {
  frame.modal = true;
  frame.resizable = false;
  MessageText.SetMultiline(true);
  MessageText.SetTextSize(12);

  Btn1.Action = [this] { Btn1_Action(); };
  Btn2.Action = [this] { Btn2_Action(); };
  Btn3.Action = [this] { Btn3_Action(); };
}

// The caller tells the answers apart by caption: the same three buttons serve
// as Yes/No in a question and as OK in an error message.
void MessageModal::Btn1_Action() {
  fBtnName = Btn1.Caption();
  Hide();
}

void MessageModal::Btn2_Action() {
  fBtnName = Btn2.Caption();
  Hide();
}

void MessageModal::Btn3_Action() {
  fBtnName = Btn3.Caption();
  Hide();
}

MessageModal& MessageModal::Shared() {
  // Never destroyed: a window released during static destruction would call
  // into a user interface that no longer exists.
  static MessageModal* shared = new MessageModal();
  return *shared;
}

YesNoDialog::YesNoDialog()
    : fw::Window("Confirmation", 452, 155),
      OKBtn(Add(ControlKind::PushButton, "OKBtn", {352, 115, 80, 20})),
      CancelBtn(Add(ControlKind::PushButton, "CancelBtn", {260, 115, 80, 20})),
      ConfirmLabel1(Add(ControlKind::Label, "ConfirmLabel1", {20, 14, 412, 20})),
      ConfirmLabel2(Add(ControlKind::Label, "ConfirmLabel2", {20, 37, 412, 20})),
      ConfirmLabel3(Add(ControlKind::Label, "ConfirmLabel3", {20, 61, 412, 42})) {
  frame.modal = true;
  frame.resizable = false;
  OKBtn.SetCaption("OK");
  OKBtn.SetDefault(true);
  CancelBtn.SetCaption("Cancel");
  CancelBtn.SetCancel(true);  // Escape declines, as closing the window does
  ConfirmLabel1.SetText("Destination folder already exists.");
  ConfirmLabel2.SetText("Delete folder to continue?");
  ConfirmLabel3.SetText("Target Folder Path");
  ConfirmLabel3.SetMultiline(true);
  ConfirmLabel3.SetTextColor(0x0000FF);

  // Here the answer is the control's name, whatever its caption was relabelled to.
  OKBtn.Action = [this] {
    fBtnName = "OKBtn";
    Hide();
  };
  CancelBtn.Action = [this] {
    fBtnName = "CancelBtn";
    Hide();
  };
}
