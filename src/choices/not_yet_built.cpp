// Choices and options: stand-ins until their dialogs and expansion are written.
#include "core/ostrel_stub_window.h"

// Not built yet: no choice dialog is shown; the answer is no choice and no option.
bool OstrelStubWindow::SelectChoiceAndOptions(std::string& choices, std::string& options) {
  choices.clear();
  options.clear();
  return true;
}

// Not built yet: no choice or option archive is installed.
void OstrelStubWindow::ExpandChoiceAndOptions(const std::string&, const std::string&) {}
