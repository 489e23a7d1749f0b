// Zip archives built in the tests with libarchive's writer, as the common
// tools write them.
#pragma once

#include <string>
#include <vector>

namespace ostrel::test {

struct ZipEntry {
  enum Kind { File, Folder, Link, HardLink };
  std::string name;
  std::string content;  // a file's bytes, or a link's target
  Kind kind = File;
  int mode = 0644;
};

// Writes the entries, in order, as a zip archive at `path`. Zip has no hard
// links: the writer stores a HardLink entry as an empty file.
void WriteZip(const std::string& path, const std::vector<ZipEntry>& entries);

}  // namespace ostrel::test
