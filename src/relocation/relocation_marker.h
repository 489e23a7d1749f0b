// The marker that a first process leaves for the relocated copy it starts.
// A copy runs from the temporary folder, where a setup started by the user is
// told to be dragged out; the marker is what tells the copy apart. It is a
// file of the user's own, mode 0600, in the copy's numbered folder, holding
// that folder, the folder the setup came from, and the answers given to the
// choice and option dialogs. It serves once: the copy removes it on reading.
#pragma once

#include <optional>
#include <string>

class OstrelStubWindow;

namespace ostrel {

struct RelocationMarker {
  std::string sourceFolder;  // with its trailing "/"
  std::string choices;
  std::string options;
};

// Writes the marker into `folder` (the numbered folder); false on failure.
bool WriteRelocationMarker(const std::string& folder, const RelocationMarker& marker);

// The marker of the copy whose bundle lies directly in `folder`, when it is
// valid: `folder` is a numbered folder directly inside `temporary`, both
// folder and marker are the user's own and no links, the marker is private
// (0600, one link) and names this very folder. It is removed once taken.
std::optional<RelocationMarker> TakeRelocationMarker(const std::string& folder, const std::string& temporary);

// For a run from the temporary folder: takes the marker of the running copy
// and gives its answers and source folder to the window. False without a
// valid marker.
bool AcceptRelocationMarker(OstrelStubWindow& window);

}  // namespace ostrel
