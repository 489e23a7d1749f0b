// The clean-up program a setup carries as Data3.
#pragma once

#include <string>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

// The program that cleans up after the setup, checked; empty when `cleanup` is 0.
std::string CleanupProgram(const SetupDescription& d, const std::string& stubBinary);

// Writes `data3`: the clean-up program packed as the bundle's inside,
// "Contents/MacOS/PostInstallCleanup", in a zip archive, not yet scrambled.
// `scratch`, a new folder of the build's own, holds the staging and is
// removed afterwards.
// A program (ELF) goes in stripped; for a self-contained bundle it must need
// nothing beyond the base system (BadInput otherwise).
void WriteCleanupArchive(const std::string& program, const std::string& data3, const std::string& scratch,
                         bool selfContained);

}  // namespace ostrel::bundler
