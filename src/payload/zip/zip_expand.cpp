#include "payload/zip/zip_expand.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <limits.h>
#include <sched.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "payload/zip/zip_directory.h"
#include "payload/zip/zip_entry_methods.h"
#include "payload/zip/zip_entry_names.h"
#include "payload/zip/zip_entry_rules.h"
#include "payload/zip/zip_fast_expand.h"

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using Reader = std::unique_ptr<archive, decltype(&archive_read_free)>;
using Writer = std::unique_ptr<archive, decltype(&archive_write_free)>;
using Links = std::vector<std::pair<std::string, std::string>>;  // entry path, target
// Every entry the archive writes, by its path: a link's target, or nothing.
using Entries = std::map<std::string, std::optional<std::string>>;

// `entry` names the entry whose content the reader found damaged, if any.
std::string Damaged(archive* a, const std::string& entry = {}) {
  std::string message = archive_error_string(a) ? archive_error_string(a) : "";
  if (!entry.empty()) message = "\"" + entry + "\"" + (message.empty() ? "" : ": " + message);
  return "it is damaged or not a zip archive" + (message.empty() ? std::string() : " (" + message + ")");
}

std::string WriteFailed(const std::string& path, archive* out) {
  std::string why = archive_error_string(out) ? archive_error_string(out) : "";
  // The writer's own words ("Write failed") do not say what the system
  // refused: a full volume should read as one.
  if (const int e = archive_errno(out); e > 0 && why.find(std::strerror(e)) == std::string::npos)
    why += (why.empty() ? "" : ": ") + std::string(std::strerror(e));
  return "\"" + path + "\" could not be written" + (why.empty() ? std::string() : " (" + why + ")");
}

Reader OpenReader(const std::string& path, std::string& why) {
  Reader a(archive_read_new(), archive_read_free);
  // The central directory alone says which entry is a link, and whether the
  // archive is whole: the streaming reader, which reads the local headers
  // only, would take a link for a file holding its target's text, and an
  // archive cut inside its directory for a good one.
  archive_read_support_format_zip_seekable(a.get());
  if (archive_read_open_filename(a.get(), path.c_str(), 64 * 1024) != ARCHIVE_OK) {
    why = Damaged(a.get());
    a.reset();
  }
  return a;
}

// The entries' names as the central directory holds them, in the order the
// reader gives the entries (that of their local headers). The reader's own
// names went through a character-set conversion that normalizes Unicode and
// takes every "\" for a separator; these are the bytes of the archive.
struct DirectoryNames {
  std::vector<const ZipRecord*> records;
  std::vector<std::string> names;
  size_t next = 0;
};

std::string ReadDirectoryNames(const std::string& archivePath, ZipDirectory& dir, DirectoryNames& out) {
  if (std::string why = ReadZipFileDirectory(archivePath, dir); !why.empty()) return why;
  if (std::string why = WhyArchiveCannotBeRead(dir.records); !why.empty()) return why;
  for (const ZipRecord& r : dir.records) out.records.push_back(&r);
  std::stable_sort(out.records.begin(), out.records.end(),
                   [](const ZipRecord* a, const ZipRecord* b) { return a->localOffset < b->localOffset; });
  for (const ZipRecord* r : out.records) {
    std::string name, why;
    EntryNameOf(*r, name, why);  // every name passed in WhyArchiveCannotBeRead
    out.names.push_back(std::move(name));
  }
  return {};
}

// The record of the entry the reader has just given, checked against it.
const ZipRecord* PairedRecord(archive_entry* e, DirectoryNames& names, std::string& name, std::string& why) {
  if (names.next >= names.records.size()) {
    why = "it is damaged or not a zip archive (it holds more entries than its directory names)";
    return nullptr;
  }
  const ZipRecord* r = names.records[names.next];
  name = names.names[names.next++];
  if (archive_entry_filetype(e) == AE_IFREG && archive_entry_size_is_set(e) &&
      static_cast<uint64_t>(archive_entry_size(e)) != r->size) {
    why = "it is damaged or not a zip archive (the entry \"" + name + "\" differs from its directory record)";
    return nullptr;
  }
  return r;
}

// The entry's plain relative path, or empty with the reason it is refused.
// `links` holds the paths of the links met earlier in the archive.
std::string CheckEntry(archive_entry* e, const std::string& name, const std::set<std::string>& links,
                       std::string& why) {
  const std::string path = CheckedEntryPath(name, why);
  if (path.empty()) return {};
  if (archive_entry_hardlink(e)) {
    why = "the entry \"" + name + "\" is a hard link";
    return {};
  }
  switch (archive_entry_filetype(e)) {
    case AE_IFREG:
    case AE_IFDIR:
      break;
    case AE_IFLNK: {
      const char* target = archive_entry_symlink(e);
      if (!target || !LinkTargetStaysInside(path, target)) {
        why = "the link \"" + name + "\" points outside the destination";
        return {};
      }
      break;
    }
    default:
      why = "the entry \"" + name + "\" is a device, a pipe or a socket";
      return {};
  }
  // The writer refuses this as well; naming the link makes a clearer reason.
  for (size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    if (links.count(path.substr(0, slash))) {
      why = "the entry \"" + name + "\" would be written through the link \"" + path.substr(0, slash) + "\"";
      return {};
    }
  }
  return path;
}

// Reads the next entry that is to be written: true with its checked path;
// false at the end, or with the reason in `why` when the archive is refused.
bool NextEntry(archive* in, DirectoryNames& names, const std::set<std::string>& links, archive_entry*& e,
               std::string& path, const ZipRecord*& record, std::string& why) {
  for (;;) {
    const int r = archive_read_next_header(in, &e);
    if (r == ARCHIVE_EOF) {
      if (names.next != names.records.size())
        why = "it is damaged or not a zip archive (it holds fewer entries than its directory names)";
      return false;
    }
    if (r < ARCHIVE_WARN) {
      why = Damaged(in);
      return false;
    }
    std::string name;
    record = PairedRecord(e, names, name, why);
    if (!record) return false;
    path = CheckEntry(e, name, links, why);
    if (path.empty()) return false;
    if (!IsMacResourceEntry(path)) return true;
  }
}

// A link may lead out through another link, of the archive or already on
// the disc, though each reads well alone: every chain is followed as the
// finished tree would have it, the archive's entries taking the place of
// what they replace.
// With a top folder (the main payload) a link may point only inside it: a
// link beside the target would let a later merge write into the user's folders.
std::string CheckLinkChains(const std::string& root, const Entries& entries, const std::string& top) {
  const std::string inside = top.empty() ? root : root + "/" + top;
  const LinkLookup linkAt = [&](const std::string& path) -> std::optional<std::string> {
    if (path.size() > root.size() + 1 && path.compare(0, root.size() + 1, root + "/") == 0) {
      const auto it = entries.find(path.substr(root.size() + 1));
      if (it != entries.end()) return it->second;
    }
    return LinkOnDisc(path);
  };
  for (const auto& [path, target] : entries) {
    if (!target) continue;
    // Every entry lies in the top folder (the shape was checked first).
    const std::string from = top.empty() ? path : path.substr(top.size() + 1);
    const auto slash = from.rfind('/');
    const std::string fromInside = (slash == std::string::npos ? std::string() : from.substr(0, slash + 1)) + *target;
    if (!ResolvesInside(inside, fromInside, linkAt))
      return "the link \"" + path + "\" points outside " +
             (top.empty() ? std::string("the destination") : "the folder \"" + top + "\"");
  }
  return {};
}

// First pass: every entry is checked and sized before anything is written.
std::string Survey(const std::string& archivePath, DirectoryNames names, const std::string& root,
                   const ExpandRules& rules, int64_t& total) {
  std::string why;
  Reader in = OpenReader(archivePath, why);
  if (!in) return why;
  std::set<std::string> links;
  Entries entries;
  archive_entry* e = nullptr;
  const ZipRecord* record = nullptr;
  std::string path;
  while (NextEntry(in.get(), names, links, e, path, record, why)) {
    const auto type = archive_entry_filetype(e);
    if (std::string bad = CheckShape(rules, path, type == AE_IFDIR); !bad.empty()) return bad;
    // An empty entry is never decoded (see Extract): its checksum is checked here.
    if (type == AE_IFREG && record->size == 0 && record->crc != 0)
      return "it is damaged or not a zip archive (the empty entry \"" + path + "\" has a checksum)";
    if (type == AE_IFLNK) links.insert(path);
    entries[path] = type == AE_IFLNK ? std::optional<std::string>(archive_entry_symlink(e)) : std::nullopt;
    total += (archive_entry_size_is_set(e) ? archive_entry_size(e) : 0) + 1;
  }
  if (!why.empty()) return why;
  if (std::string bad = CheckWholeShape(rules, entries.size()); !bad.empty()) return bad;
  return CheckLinkChains(root, entries, rules.topFolder);
}

std::string CopyContent(archive* in, archive* out, archive_entry* e, const std::string& path,
                        ExpandProgress& progress) {
  int64_t end = 0;
  for (;;) {
    const void* block = nullptr;
    size_t size = 0;
    la_int64_t offset = 0;
    const int r = archive_read_data_block(in, &block, &size, &offset);
    if (r == ARCHIVE_EOF) break;
    if (r != ARCHIVE_OK) return Damaged(in, path);  // a bad checksum comes as a warning
    if (archive_write_data_block(out, block, size, offset) != ARCHIVE_OK) return WriteFailed(path, out);
    end = std::max<int64_t>(end, offset + static_cast<int64_t>(size));
    progress.done += static_cast<int64_t>(size);
  }
  // The writer fills a file up to its recorded size: content that ends
  // early (a directory that lies, with a checksum to match nothing) would
  // pass as whole, padded with zeros.
  if (!archive_entry_size_is_set(e) || end == archive_entry_size(e)) return {};
  const int64_t recorded = archive_entry_size(e);
  return "it is damaged or not a zip archive (\"" + path + "\" holds " + (end < recorded ? "less" : "more") +
         " than its recorded " + std::to_string(recorded) + " bytes)";
}

// Second pass, below the working folder: the entries are written under
// their checked relative names.
std::string Extract(const std::string& archivePath, DirectoryNames names, ExpandProgress& progress, Links& made) {
  std::string why;
  Reader in = OpenReader(archivePath, why);
  if (!in) return why;
  Writer out(archive_write_disk_new(), archive_write_free);
  archive_write_disk_set_options(out.get(), ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                                ARCHIVE_EXTRACT_SECURE_NODOTDOT |
                                                ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS);
  std::set<std::string> links;
  archive_entry* e = nullptr;
  const ZipRecord* record = nullptr;
  std::string path;
  while (NextEntry(in.get(), names, links, e, path, record, why)) {
    archive_entry_set_pathname(e, path.c_str());
    archive_entry_set_perm(e, archive_entry_perm(e) & 0777);  // no setuid, setgid or sticky bit
    if (archive_write_header(out.get(), e) < ARCHIVE_WARN) return WriteFailed(path, out.get());
    // An empty entry has no content to decode, in whatever method it is
    // stored (the LZMA decoder fails on the marker an empty entry ends with).
    if (archive_entry_filetype(e) == AE_IFREG && record->size != 0) {
      why = CopyContent(in.get(), out.get(), e, path, progress);
      if (!why.empty()) return why;
    }
    if (archive_write_finish_entry(out.get()) < ARCHIVE_WARN) return WriteFailed(path, out.get());
    if (archive_entry_filetype(e) == AE_IFLNK) {
      links.insert(path);
      made.emplace_back(path, archive_entry_symlink(e));
    }
    progress.done += 1;
  }
  if (!why.empty()) return why;
  if (archive_write_close(out.get()) < ARCHIVE_WARN) return WriteFailed("the last entry", out.get());
  return {};
}

std::mutex& WorkingFolderMutex() {
  static auto* mutex = new std::mutex;  // never destroyed: jobs may still run at exit
  return *mutex;
}

// The writer takes relative names below the working folder. On Linux the
// expanding thread first gets a working folder of its own, so the rest of
// the process never sees it change; elsewhere the change is process-wide,
// which the lock and the restoring at the end keep harmless.
class WorkingFolder {
 public:
  explicit WorkingFolder(const std::string& path) : lock_(WorkingFolderMutex()) {
#ifdef __linux__
    static thread_local const bool ownFolder = unshare(CLONE_FS) == 0;
    (void)ownFolder;
#endif
    saved_ = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    entered_ = chdir(path.c_str()) == 0;
  }
  ~WorkingFolder() {
    if (saved_ < 0) return;
    [[maybe_unused]] const int r = fchdir(saved_);
    close(saved_);
  }
  bool Entered() const { return entered_; }

 private:
  std::unique_lock<std::mutex> lock_;
  int saved_ = -1;
  bool entered_ = false;
};

}  // namespace

ExpandResult ExpandZipArchive(const std::string& archivePath, const std::string& folder,
                              ExpandProgress* progress, const ExpandRules& rules) {
  ExpandProgress local;
  ExpandProgress& p = progress ? *progress : local;
  std::error_code ec;
  const std::string archiveAbsolute = fs::absolute(archivePath, ec).string();
  if (access(archiveAbsolute.c_str(), R_OK) != 0)
    return {false, std::string("it cannot be read (") + std::strerror(errno) + ")"};

  fs::create_directories(folder, ec);
  char real[PATH_MAX];
  if (!realpath(folder.c_str(), real) || !fs::is_directory(real, ec))
    return {false, "the folder \"" + folder + "\" cannot be created"};

  // The common archive goes the fast way; the rest, decided before anything
  // is written, the general way below.
  if (auto fast = TryFastExpansion(archiveAbsolute, real, p, rules)) return *fast;

  ZipDirectory dir;
  DirectoryNames names;
  if (std::string why = ReadDirectoryNames(archiveAbsolute, dir, names); !why.empty()) return {false, why};
  int64_t total = 0;
  if (std::string why = Survey(archiveAbsolute, names, real, rules, total); !why.empty()) return {false, why};
  p.total = total;

  Links made;
  std::string why;
  {
    WorkingFolder working(real);
    if (!working.Entered()) return {false, "the folder \"" + folder + "\" cannot be opened"};
    why = Extract(archiveAbsolute, names, p, made);
  }
  // The chains were checked before writing; what the disc holds now is
  // checked again, should it have changed meanwhile.
  for (const auto& [path, target] : made) {
    const auto slash = path.rfind('/');
    const std::string fromRoot = (slash == std::string::npos ? std::string() : path.substr(0, slash + 1)) + target;
    if (ResolvesInside(real, fromRoot)) continue;
    unlink((std::string(real) + "/" + path).c_str());
    if (why.empty()) why = "the link \"" + path + "\" points outside the destination";
  }
  return {why.empty(), why};
}

}  // namespace ostrel
