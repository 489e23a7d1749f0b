// Writing the payload archive with libarchive. Files stream through a small
// buffer, so a payload of any size needs little memory.
#include "bundler/payload_zip.h"

#include <archive.h>
#include <archive_entry.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "bundler/setup_description.h"

namespace ostrel::bundler {
namespace {

constexpr size_t kChunk = 64 * 1024;

using ArchivePtr = std::unique_ptr<archive, decltype(&archive_write_free)>;
using EntryPtr = std::unique_ptr<archive_entry, decltype(&archive_entry_free)>;

struct FileDescriptor {
  explicit FileDescriptor(int f) : fd(f) {}
  ~FileDescriptor() {
    if (fd >= 0) close(fd);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int fd;
};

std::vector<std::string> SortedNames(const std::string& dir) {
  struct CloseDir {
    void operator()(DIR* d) const { closedir(d); }
  };
  std::unique_ptr<DIR, CloseDir> d(opendir(dir.c_str()));
  if (!d) throw std::runtime_error("cannot read the folder " + dir + ": " + std::strerror(errno));
  std::vector<std::string> names;
  while (dirent* e = readdir(d.get())) {
    const std::string name = e->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

class ZipWriter {
 public:
  explicit ZipWriter(const std::string& zipPath) : a_(archive_write_new(), archive_write_free) {
    if (archive_write_set_format_zip(a_.get()) != ARCHIVE_OK ||
        archive_write_set_options(a_.get(), "zip:compression=deflate,zip:hdrcharset=UTF-8") != ARCHIVE_OK ||
        archive_write_open_filename(a_.get(), zipPath.c_str()) != ARCHIVE_OK)
      Fail("cannot create " + zipPath);
  }

  void Close() {
    if (archive_write_close(a_.get()) != ARCHIVE_OK) Fail("cannot finish the archive");
  }

  // Adds the item at `path` as `name`, and a folder's content after it.
  void Add(const std::string& path, const std::string& name, ZipSummary& sum) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
    EntryPtr e(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname_utf8(e.get(), name.c_str());
    archive_entry_set_perm(e.get(), st.st_mode & 07777);
    archive_entry_set_mtime(e.get(), st.st_mtim.tv_sec, st.st_mtim.tv_nsec);
    if (S_ISDIR(st.st_mode)) {
      archive_entry_set_filetype(e.get(), AE_IFDIR);
      WriteHeader(e.get(), name);
      ++sum.folders;
      for (const auto& child : SortedNames(path)) Add(path + "/" + child, name + "/" + child, sum);
    } else if (S_ISLNK(st.st_mode)) {
      std::string target(static_cast<size_t>(st.st_size) + 1, '\0');
      const ssize_t n = readlink(path.c_str(), target.data(), target.size());
      if (n < 0) throw std::runtime_error("cannot read the link " + path + ": " + std::strerror(errno));
      target.resize(static_cast<size_t>(n));
      archive_entry_set_filetype(e.get(), AE_IFLNK);
      archive_entry_set_symlink_utf8(e.get(), target.c_str());
      WriteHeader(e.get(), name);
      ++sum.links;
    } else if (S_ISREG(st.st_mode)) {
      archive_entry_set_filetype(e.get(), AE_IFREG);
      archive_entry_set_size(e.get(), st.st_size);
      WriteHeader(e.get(), name);
      sum.bytes += CopyContent(path);
      ++sum.files;
    } else {
      throw BadInput("the payload may hold only files, folders and symbolic links: " + path);
    }
  }

 private:
  [[noreturn]] void Fail(const std::string& what) {
    const char* why = archive_error_string(a_.get());
    throw std::runtime_error(what + (why ? std::string(": ") + why : std::string()));
  }

  void WriteHeader(archive_entry* e, const std::string& name) {
    if (archive_write_header(a_.get(), e) < ARCHIVE_WARN) Fail("cannot add " + name + " to the archive");
  }

  uint64_t CopyContent(const std::string& path) {
    const FileDescriptor in(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (in.fd < 0) throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
    std::vector<char> buffer(kChunk);
    uint64_t total = 0;
    for (;;) {
      const ssize_t n = read(in.fd, buffer.data(), buffer.size());
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
      if (n == 0) return total;
      if (archive_write_data(a_.get(), buffer.data(), static_cast<size_t>(n)) != n) Fail("cannot write " + path);
      total += static_cast<uint64_t>(n);
    }
  }

  ArchivePtr a_;
};

}  // namespace

namespace {

// The folder itself may be reached through a link; its content is stored as it is.
std::string RealFolder(const std::string& folder) {
  struct stat st;
  if (stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
    throw BadInput("the payload folder " + folder + " does not exist or is not a folder");
  std::unique_ptr<char, decltype(&free)> real(realpath(folder.c_str(), nullptr), free);
  if (!real) throw std::runtime_error("cannot resolve " + folder + ": " + std::strerror(errno));
  return real.get();
}

}  // namespace

ZipSummary WritePayloadZip(const std::string& folder, const std::string& topName, const std::string& zipPath) {
  const std::string real = RealFolder(folder);
  if (topName.empty() || topName.find('/') != std::string::npos || topName == "." || topName == "..")
    throw BadInput("the target \"" + topName + "\" must be a plain folder name");
  ZipSummary sum;
  ZipWriter zip(zipPath);
  zip.Add(real, topName, sum);
  zip.Close();
  return sum;
}

ZipSummary WriteContentZip(const std::string& folder, const std::string& zipPath) {
  const std::string real = RealFolder(folder);
  ZipSummary sum;
  ZipWriter zip(zipPath);
  for (const auto& child : SortedNames(real)) zip.Add(real + "/" + child, child, sum);
  zip.Close();
  return sum;
}

}  // namespace ostrel::bundler
