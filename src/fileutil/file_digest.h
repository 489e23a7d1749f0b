// The SHA-256 digest of a file, read in pieces so that memory stays small.
#pragma once

#include <optional>
#include <string>

namespace ostrel {

// 64 lower-case hexadecimal digits; nothing when the file cannot be read.
std::optional<std::string> FileSha256(const std::string& path);

}  // namespace ostrel
