// Scrambling of payload files and expansion of archives, all in-process.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace ViewConst {
// Rewrites the file through the alternating byte step, streaming it into a
// new file that replaces the old one only when complete. A missing file is
// passed over; a file that cannot be rewritten stays as it was, and the
// user is told why.
void EncryptDecryptFileEnd(const std::string& path, bool encrypt);
// Expands a zip archive into the folder, synchronously; true on success.
bool ZipFileToFolder(const std::string& archive, const std::string& folder, bool replace);
}  // namespace ViewConst

namespace ostrel {
// The rewriting itself, for callers with no user to tell: 0 when done, -1
// when there is no plain file at the absolute `path`, else the errno of the
// failure, the file then being as it was.
int RewriteThroughByteStep(const std::string& path, bool encrypt);
// Copies `source` through the byte step into a new file at `destination`,
// which must not exist yet, in one streaming pass. The errno of a failure,
// and whether it was the source's; the destination is then gone again.
// `seen`, when given, is shown the source's bytes as they pass.
struct CopyResult {
  int error = 0;
  bool inSource = false;
};
using BytesSeen = std::function<void(const void* data, size_t size)>;
CopyResult CopyThroughByteStep(const std::string& source, const std::string& destination, bool encrypt,
                               const BytesSeen& seen = {});
// Claims ".zip" launches for the in-process opener, which expands an archive
// beside itself in the background (see payload/zip/zip_opener.h).
void RegisterZipOpener();
}  // namespace ostrel
