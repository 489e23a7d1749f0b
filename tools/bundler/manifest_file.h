// The bundle's integrity manifest, Contents/Resources/Manifest: a line
// "NAME SIZE SHA256" for each payload file the stub checks before using it.
#pragma once

#include <string>
#include <vector>

namespace ostrel::bundler {

// Writes the manifest into `resources` for the payload files there (Data2 or
// Data#1, and Data3) and the pieces in `piecesFolder` named by `pieces`.
void WriteManifest(const std::string& resources, const std::string& piecesFolder,
                   const std::vector<std::string>& pieces);

}  // namespace ostrel::bundler
