// The choice and option dialogs: design layout and their two buttons.
#include "choices/choice_dialogs.h"

#include "choices/choice_entries.h"

using fw::ControlKind;

namespace {

constexpr int kRowTop = 14, kRowStep = 32;
constexpr int kFootGap = 40;  // from the buttons' top to the window's bottom

}  // namespace

std::string TChoiceOptionsLayout::RowName(const std::string& array, int index) {
  return array + "(" + std::to_string(index) + ")";
}

TChoiceOptionsLayout::TChoiceOptionsLayout(const std::string& title, ControlKind rowKind, const std::string& array)
    : fw::Window(title, 340, 383),
      QuitBtn(AddRows(rowKind, array).Add(ControlKind::PushButton, "QuitBtn", {148, 343, 80, 20})),
      ContinueBtn(Add(ControlKind::PushButton, "ContinueBtn", {240, 343, 80, 20})) {
  frame.modal = true;
  frame.resizable = false;
  // Neither caption goes through the custom labels.
  QuitBtn.SetCaption("Quit");
  QuitBtn.SetCancel(true);
  ContinueBtn.SetCaption("Continue");
  ContinueBtn.SetDefault(true);
  QuitBtn.Action = [this] { QuitBtn_Action(); };
  ContinueBtn.Action = [this] { ContinueBtn_Action(); };
}

fw::Window& TChoiceOptionsLayout::AddRows(ControlKind rowKind, const std::string& array) {
  for (int i = 0; i < kRows; ++i) Add(rowKind, RowName(array, i), {20, kRowTop + kRowStep * i, 300, 20}).SetCaption("Untitled");
  return *this;
}

void TChoiceOptionsLayout::QuitBtn_Action() {
  fBtnName = "Quit";
  Hide();
}

void TChoiceOptionsLayout::ContinueBtn_Action() {
  fBtnName = "OKBtn";
  Hide();
}

void TChoiceOptionsLayout::Fill(const std::string& array, const std::vector<std::string>& entries) {
  const int last = static_cast<int>(entries.size()) - 1;
  for (int i = 0; i <= last; ++i) {
    Row(array, i).SetCaption(ostrel::EntryField(entries[i], 1));
    Row(array, i).SetHelpTag(ostrel::EntryField(entries[i], 4));
  }
  for (int i = last + 1; i < kRows; ++i) Row(array, i).SetVisible(false);
  if (last < kRows - 1) {
    QuitBtn.SetTop(Row(array, last + 1).Top());
    ContinueBtn.SetTop(QuitBtn.Top());
    SetHeight(QuitBtn.Top() + kFootGap);
  }
}

TChoiceDlg::TChoiceDlg() : TChoiceOptionsLayout("Pick One Choice", ControlKind::RadioButton, "ChoiceRadio") {}

TOptionsDlg::TOptionsDlg() : TChoiceOptionsLayout("Select Options", ControlKind::CheckBox, "OptionCheckBox") {}
