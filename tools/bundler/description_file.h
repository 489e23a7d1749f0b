// The setup description file: "key = value" lines that describe one bundle.
// The format is documented in tools/bundler/README.md.
#pragma once

#include <string>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

// A description that cannot be read; the message begins with "file:line: ".
struct DescriptionError : BadInput {
  using BadInput::BadInput;
};

// Parses a description. Files named in it ("@notes.txt", "payload = app")
// are relative to `baseFolder`; `displayName` prefixes the error messages.
SetupDescription ParseDescription(const std::string& text, const std::string& baseFolder,
                                  const std::string& displayName);

// Reads and parses the description file at `path`.
SetupDescription ReadDescriptionFile(const std::string& path);

}  // namespace ostrel::bundler
