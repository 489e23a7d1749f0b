#include "support/zip_fixture.h"

#include <archive.h>
#include <archive_entry.h>

#include <stdexcept>

namespace ostrel::test {

void WriteZip(const std::string& path, const std::vector<ZipEntry>& entries) {
  archive* a = archive_write_new();
  archive_write_set_format_zip(a);
  if (archive_write_open_filename(a, path.c_str()) != ARCHIVE_OK)
    throw std::runtime_error(archive_error_string(a));
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
      case ZipEntry::HardLink:
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_hardlink(entry, e.content.c_str());
        break;
      case ZipEntry::File:
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_size(entry, static_cast<la_int64_t>(e.content.size()));
        break;
    }
    if (archive_write_header(a, entry) != ARCHIVE_OK) throw std::runtime_error(archive_error_string(a));
    if (e.kind == ZipEntry::File) archive_write_data(a, e.content.data(), e.content.size());
    archive_entry_free(entry);
  }
  archive_write_close(a);
  archive_write_free(a);
}

}  // namespace ostrel::test
