// The two document windows that show notes, agreements, the Info text and
// release notes: plain text in LicenseAgreementWindow, HTML in THtmlNotesDlg.
// They hold no logic; callers set the captions, show them and read fBtnName.
#pragma once

#include <string>

#include "framework/window.h"

class LicenseAgreementWindow : public fw::Window {
 public:
  LicenseAgreementWindow();
  std::string fBtnName;  // "OKBtn" or "QuitBtn"
  fw::Control& AgreementEdit;
  fw::Control& QuitBtn;
  fw::Control& OKBtn;
  void QuitBtn_Action();
  void OKBtn_Action();
};

class THtmlNotesDlg : public fw::Window {
 public:
  THtmlNotesDlg();
  std::string fBtnName;  // "ContinueBtn" or "QuitBtn"
  fw::Control& MyHTMLViewer;
  fw::Control& ContinueBtn;
  fw::Control& QuitBtn;
  void ContinueBtn_Action();
  void QuitBtn_Action();
};
