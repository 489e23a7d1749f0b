#include "support/zip_fixture.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ostrel::test {
namespace {

// Turns the type bits of each forged entry's unix mode, the high half of
// the central directory's external attributes, into those of a device.
void ForgeDevices(const std::string& path, const std::vector<ZipEntry>& entries) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  std::string bytes = s.str();
  size_t index = 0, at = 0;
  const std::string signature("PK\x01\x02", 4);
  while ((at = bytes.find(signature, at)) != std::string::npos && index < entries.size()) {
    if (entries[index].kind == ZipEntry::CharDevice) {
      const uint32_t mode = S_IFCHR | 0644;
      bytes[at + 40] = static_cast<char>(mode & 0xFF);
      bytes[at + 41] = static_cast<char>(mode >> 8);
    }
    ++index;
    at += signature.size();
  }
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace

void WriteZip(const std::string& path, const std::vector<ZipEntry>& entries) {
  archive* a = archive_write_new();
  archive_write_set_format_zip(a);
  if (archive_write_open_filename(a, path.c_str()) != ARCHIVE_OK)
    throw std::runtime_error(archive_error_string(a));
  bool forged = false;
  for (const auto& e : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, e.name.c_str());
    archive_entry_set_perm(entry, e.mode);
    archive_entry_set_mtime(entry, 1700000000, 0);
    switch (e.kind) {
      case ZipEntry::Folder:
        archive_entry_set_filetype(entry, AE_IFDIR);
        break;
      case ZipEntry::Link:
        archive_entry_set_filetype(entry, AE_IFLNK);
        archive_entry_set_symlink(entry, e.content.c_str());
        break;
      case ZipEntry::File:
      case ZipEntry::CharDevice:
        forged = forged || e.kind == ZipEntry::CharDevice;
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_size(entry, static_cast<la_int64_t>(e.content.size()));
        break;
    }
    if (archive_write_header(a, entry) != ARCHIVE_OK) throw std::runtime_error(archive_error_string(a));
    if (e.kind == ZipEntry::File || e.kind == ZipEntry::CharDevice)
      archive_write_data(a, e.content.data(), e.content.size());
    archive_entry_free(entry);
  }
  archive_write_close(a);
  archive_write_free(a);
  if (forged) ForgeDevices(path, entries);
}

}  // namespace ostrel::test
