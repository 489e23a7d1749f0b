// Relocation: a stand-in until copying the installer off a disc is written.
#include "core/ostrel_stub_window.h"

// Not built yet: the installer never hands over to a relocated copy.
bool OstrelStubWindow::RelocateInstaller(const std::string&) { return false; }
