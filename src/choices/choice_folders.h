// Where a choice's or option's archive goes, and how a staging folder is
// merged into the folder it stands in for.
#pragma once

#include <string>

namespace ostrel {

struct Placement {
  std::string destination;  // where the archive is expanded
  std::string mergeTarget;  // where its items then go; empty when nowhere
  bool staged = false;      // the destination is a staging folder
};

// The folder rule for the folder sub-field `name`: a folder below the
// target, or, when the name is the target's own (ignoring case), the target
// itself. An existing folder is never expanded into: the archive goes to a
// staging folder, the folder's path followed by `suffix`, and is merged.
Placement PlaceInTarget(const std::string& targetFolder, const std::string& name, const std::string& suffix);

// Moves each top-level item of `destination` into `mergeTarget`, replacing
// an item of the same name there ("Failed to create <path>" for one that
// cannot move), then removes `destination` with whatever stayed in it.
void MergeStagedFolder(const std::string& destination, const std::string& mergeTarget);

// The bundle's Contents/Resources folder with a trailing "/", found from the
// executable's path at the first "/Contents" (any case); empty when none.
std::string ResourcesFolderPath();

// ZipFileToFolder for a path that may not resolve: false then, where
// ZipFileToFolder would raise.
bool ExpandArchiveInto(const std::string& archive, const std::string& folder, bool replace);

}  // namespace ostrel
