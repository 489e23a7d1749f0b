// Steps of the payload that later work fills in; until then they do nothing.
#include "core/ostrel_stub_window.h"

// Joining the pieces of a split setup into the working archive comes later.
void OstrelStubWindow::CombineSplitSetup(const std::string&, const std::string&) {}

// Applying a patch folder to an existing installation comes later.
void OstrelStubWindow::ApplyInstallationPatch() {}
