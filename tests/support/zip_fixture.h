// Zip archives built in the tests with libarchive's writer, hostile ones too.
#pragma once

#include <string>
#include <vector>

namespace ostrel::test {

struct ZipEntry {
  enum Kind { File, Folder, Link, CharDevice };
  std::string name;
  std::string content;  // a file's bytes, or a link's target
  Kind kind = File;
  int mode = 0644;
};

// Writes the entries, in order, as a zip archive at `path`. The writer will
// not store a device, so a CharDevice entry is stored as a file whose type
// is then changed in the central directory, as a forged archive would have it.
void WriteZip(const std::string& path, const std::vector<ZipEntry>& entries);

}  // namespace ostrel::test
