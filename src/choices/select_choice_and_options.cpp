// Asking for the choice and the options before anything is installed.
#include "choices/choice_dialogs.h"
#include "choices/choice_entries.h"
#include "core/ostrel_stub_window.h"

namespace {

enum : size_t { kChoiceTitleLabel = 23, kOptionsTitleLabel = 24 };

}  // namespace

bool OstrelStubWindow::SelectChoiceAndOptions(std::string& choices, std::string& options) {
  bool go = true;
  if (!fInstallChoices.empty()) {
    TChoiceDlg dlg;
    dlg.SetTitle(CustomLabel("Pick One Choice", Label(kChoiceTitleLabel)));
    const auto entries = ostrel::ChoiceEntries(fInstallChoices);
    dlg.Fill("ChoiceRadio", entries);
    dlg.ChoiceRadio(0).SetValue(1);
    dlg.ShowModal();
    for (size_t i = 0; i < entries.size(); ++i)
      if (dlg.ChoiceRadio(static_cast<int>(i)).Value() != 0) choices = dlg.ChoiceRadio(static_cast<int>(i)).Caption();
    go = dlg.fBtnName == "OKBtn";
  }
  if (go && !fInstallOptions.empty()) {
    TOptionsDlg dlg;
    dlg.SetTitle(CustomLabel("Select Options", Label(kOptionsTitleLabel)));
    const auto entries = ostrel::ChoiceEntries(fInstallOptions);
    dlg.Fill("OptionCheckBox", entries);
    dlg.ShowModal();
    options.clear();
    for (size_t i = 0; i < entries.size(); ++i) {
      const fw::Control& box = dlg.OptionCheckBox(static_cast<int>(i));
      if (box.Value() == 0) continue;
      if (!options.empty()) options += ",";
      options += box.Caption();
    }
    go = dlg.fBtnName == "OKBtn";
  }
  return go;
}
