// Streaming file copy that never leaves a half-written destination: the data
// goes to a new file beside the destination, which replaces it only once
// complete. Answers 0 or the errno of the failure.
#pragma once

#include <string>

namespace fw {

int CopyRegularFile(const std::string& source, const std::string& destination);

// Creates a new file with a unique name beside `finalPath` for writing.
// Answers the descriptor (or -1, with errno set) and the name chosen.
int CreateSiblingTemp(const std::string& finalPath, std::string& tempPath, mode_t mode = 0644);

}  // namespace fw
