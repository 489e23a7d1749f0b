// The sized message window for questions and one-button errors, and the
// confirmation window that asks before a folder is replaced.
#pragma once

#include <string>

#include "framework/window.h"

class MessageModal : public fw::Window {
 public:
  MessageModal();
  std::string fBtnName;  // caption of the pressed button
  fw::Control& Btn1;
  fw::Control& Btn2;
  fw::Control& Btn3;
  fw::Control& MessageText;
  void Btn1_Action();
  void Btn2_Action();
  void Btn3_Action();
  // The application-wide instance that error messages share, made at first use.
  static MessageModal& Shared();
};

class YesNoDialog : public fw::Window {
 public:
  YesNoDialog();
  std::string fBtnName;  // "OKBtn" or "CancelBtn"
  fw::Control& OKBtn;
  fw::Control& CancelBtn;
  fw::Control& ConfirmLabel1;
  fw::Control& ConfirmLabel2;
  fw::Control& ConfirmLabel3;
};

namespace ViewConst {
bool YesNoDialog(int number);
void MessageModalStartSize(MessageModal& dialog, const std::string& text);
void MessageModalEndSize(MessageModal& dialog, const std::string& text);
void ModalScriptShow(fw::Window& window);
void DoShowModal(fw::Window& window);
}  // namespace ViewConst
