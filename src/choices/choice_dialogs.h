// The two dialogs that ask for the choice (radio buttons, one on) and the
// options (check boxes, any ticked). Ten rows, filled from the top; the
// caller hides the rest and shrinks the dialog to the rows in use.
#pragma once

#include <string>
#include <vector>

#include "framework/window.h"

// The design both dialogs share: 340 by 383, rows 32 pixels apart from 14.
class TChoiceOptionsLayout : public fw::Window {
 public:
  static constexpr int kRows = 10;
  static std::string RowName(const std::string& array, int index);

  std::string fBtnName;  // "OKBtn" after Continue, "Quit" after Quit
  fw::Control& QuitBtn;
  fw::Control& ContinueBtn;

  void QuitBtn_Action();
  void ContinueBtn_Action();

  // Fills rows 0.. with the entries' captions and help tags, hides the rest,
  // and lets the buttons and the window's foot follow the last row in use.
  void Fill(const std::string& array, const std::vector<std::string>& entries);

 protected:
  TChoiceOptionsLayout(const std::string& title, fw::ControlKind rowKind, const std::string& array);
  fw::Control& Row(const std::string& array, int index) const { return Get(RowName(array, index)); }

 private:
  // The rows come first, so that the keyboard's focus starts on the first.
  fw::Window& AddRows(fw::ControlKind rowKind, const std::string& array);
};

class TChoiceDlg : public TChoiceOptionsLayout {
 public:
  TChoiceDlg();
  fw::Control& ChoiceRadio(int index) const { return Row("ChoiceRadio", index); }
};

class TOptionsDlg : public TChoiceOptionsLayout {
 public:
  TOptionsDlg();
  fw::Control& OptionCheckBox(int index) const { return Row("OptionCheckBox", index); }
};
