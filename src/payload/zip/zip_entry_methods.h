// Which entries the installer can read, known from the central directory
// before anything is written: an archive is refused whole, in plain words,
// rather than found unreadable halfway through the writing.
#pragma once

#include <string>
#include <vector>

#include "payload/zip/zip_directory.h"

namespace ostrel {

// Empty when the entry can be read; else why not, a phrase that completes
// "could not be expanded: " and names the entry by `name`: it is protected by
// a password, or it uses a compression method this setup cannot read.
std::string WhyEntryCannotBeRead(const ZipRecord& r, const std::string& name);

// The first such reason among the records, or empty.
std::string WhyArchiveCannotBeRead(const std::vector<ZipRecord>& records);

// The same for the zip archive at `path`, read as the installer reads it: an
// archive that is damaged says so.
std::string WhyZipFileCannotBeRead(const std::string& path);

}  // namespace ostrel
