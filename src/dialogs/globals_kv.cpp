// The message table, yes/no questions by text, and the shared error dialog.
#include "dialogs/globals_kv.h"

#include "dialogs/message_modal.h"
#include "fileutil/view_const.h"

namespace GlobalsKv {

std::string gErrorString;
int gConflictType = 0;

std::string MyGetString(int number) {
  // A heading and a sentence, set apart by an empty line.
  const std::string gap = ViewConst::gLineBreak + ViewConst::gLineBreak;
  switch (number) {
    case -1:
      return "UNKNOWN ERROR. ";
    case 34:
      return "VOLUME NOT FOUND." + gap + "This volume does not exist: ";
    case 36:
      return "FILE ALREADY EXISTS." + gap + "A file already exists at this path: ";
    case 39:
      return "INSUFFICIENT RAM." + gap + "Unable to process picture due to RAM shortage.";
    default:
      return std::string();
  }
}

bool YesNoDlg(const std::string& text) {
  gErrorString = text;
  gConflictType = 999;
  const bool yes = ViewConst::YesNoDialog(999);
  gConflictType = 0;
  return yes;
}

void ShowConflictMessage() {
  if (gConflictType == 0) return;
  std::string text = gConflictType == 999 ? gErrorString : MyGetString(gConflictType);
  if (text.empty()) text = MyGetString(-1);

  // One window for all error messages; it keeps its design size and title.
  MessageModal& dialog = MessageModal::Shared();
  dialog.MessageText.SetText(text);
  dialog.Btn1.SetVisible(false);
  dialog.Btn2.SetVisible(false);
  dialog.Btn3.SetCaption("OK");
  dialog.Btn3.SetDefault(true);
  dialog.Btn3.SetCancel(true);  // the one way out, for Escape too
  dialog.Btn3.SetVisible(true);
  ViewConst::DoShowModal(dialog);
}

}  // namespace GlobalsKv
