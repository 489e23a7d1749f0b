// Scripted actions: stand-ins until the action list, special paths, the
// launched programs and the clean-up are written.
#include "core/ostrel_stub_window.h"

// Not built yet: no before-program is run, so startup always goes on.
bool OstrelStubWindow::DoExecuteBefore() { return true; }

// Not built yet: the action list is not walked before installing.
void OstrelStubWindow::PreInstallCopy() {}

// Not built yet: the action list is not walked after installing.
void OstrelStubWindow::PostInstallCopy() {}

// Not built yet: path macros are not resolved; the text stays as it is.
bool OstrelStubWindow::SpecialPath(std::string&) { return false; }

// Not built yet: no program is talked to, so there is nothing to wait for.
bool OstrelStubWindow::CommunicateWithExecutable() { return true; }

// Not built yet: no clean-up program is started.
void OstrelStubWindow::Cleanup() {}
