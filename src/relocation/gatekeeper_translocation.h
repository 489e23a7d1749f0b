// The way out that the application path offers when the system runs the
// installer from a translocated place: a dialog that takes the application's
// real path and an administrator's password, clears the quarantine mark and
// ends the run, so that the user starts the installer again.
#pragma once

#include <string>

#include "framework/window.h"

class TGatekeeperTranslocationDlg : public fw::Window {
 public:
  TGatekeeperTranslocationDlg();
  std::string fBtnName;  // "OKBtn" or "CancelBtn"
  fw::Control& Label1;
  fw::Control& Label2;
  fw::Control& AppPathEdit;
  fw::Control& Label3;
  fw::Control& AdminPasswordEdit;
  fw::Control& CancelBtn;
  fw::Control& OKBtn;
  void CancelBtn_Action();
  void OKBtn_Action();
};

namespace ostrel {

// Shows the dialog; on OK hands the typed path and password to the
// platform's quarantine clearing. Quits with code 0 in every case.
[[noreturn]] void GatekeeperTranslocationRoute();

}  // namespace ostrel
