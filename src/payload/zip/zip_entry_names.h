// What an entry's name is, from the bytes the central directory holds: the
// same for every reader of archives in the installer, and for every rule that
// compares names. Names are bytes: nothing is normalized, so two names that
// differ only in how an accent is composed are two files.
#pragma once

#include <string>

#include "payload/zip/zip_directory.h"

namespace ostrel {

// The entry's name as it is to be written, in UTF-8 with "/" between folders:
// the stored name when flagged as UTF-8; else the name of a matching Info-ZIP
// Unicode Path field; else the stored name when it is valid UTF-8 (macOS's
// compressor), read as code page 437 otherwise (older Windows compressors).
// "\" separates folders only in an entry made on MS-DOS or Windows. False,
// with the reason in `why`, for a name that cannot be written as it stands.
bool EntryNameOf(const ZipRecord& r, std::string& name, std::string& why);

bool IsValidUtf8(const std::string& bytes);
std::string Cp437ToUtf8(const std::string& bytes);

}  // namespace ostrel
