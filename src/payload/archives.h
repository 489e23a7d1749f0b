// Scrambling of payload files and expansion of archives, all in-process.
#pragma once

#include <string>

namespace ViewConst {
// Rewrites the file through the alternating byte step, streaming it into a
// new file that replaces the old one only when complete.
void EncryptDecryptFileEnd(const std::string& path, bool encrypt);
// Expands a zip archive into the folder, synchronously; true on success.
bool ZipFileToFolder(const std::string& archive, const std::string& folder, bool replace);
}  // namespace ViewConst

namespace ostrel {
// Claims ".zip" launches for the in-process opener, which expands an archive
// beside itself in the background (see payload/zip_opener.h).
void RegisterZipOpener();
}  // namespace ostrel
