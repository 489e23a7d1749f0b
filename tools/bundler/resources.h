// The files a setup carries in Contents/Resources beside its record and
// payload: the programs run before and after installing, and scripts.
#pragma once

#include <string>
#include <vector>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

// Checks, before anything is written, that each resource exists, is a file
// or a folder, and does not take a name the bundle's own files use, and that
// a program named without a path macro is among them. Throws BadInput.
void CheckResources(const SetupDescription& d);

// Copies the resources into `resourcesFolder`: files with their permission
// bits, folders with their content, links as links.
void CopyResources(const std::vector<std::string>& resources, const std::string& resourcesFolder);

}  // namespace ostrel::bundler
