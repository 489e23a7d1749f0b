#include "payload/zip/zip_plan.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <map>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include "payload/zip/zip_entry_names.h"
#include "payload/zip/zip_entry_rules.h"

namespace ostrel {
namespace {

constexpr uint32_t kLocalSignature = 0x04034b50;
constexpr uint64_t kLocalSize = 30;
// Deflate cannot give more than 1032 bytes for one it reads (a run of 258
// copies in two bits, rounded up): an entry claiming more lies.
constexpr uint64_t kMaxDeflateRatio = 1032;

std::string Damaged(const std::string& detail) { return "it is damaged or not a zip archive (" + detail + ")"; }

int64_t DosTime(uint32_t dateTime) {
  const uint32_t date = dateTime >> 16, time = dateTime & 0xFFFF;
  std::tm tm{};
  tm.tm_year = static_cast<int>((date >> 9) & 0x7F) + 80;
  tm.tm_mon = static_cast<int>((date >> 5) & 0x0F) - 1;
  tm.tm_mday = static_cast<int>(date & 0x1F);
  tm.tm_hour = static_cast<int>((time >> 11) & 0x1F);
  tm.tm_min = static_cast<int>((time >> 5) & 0x3F);
  tm.tm_sec = static_cast<int>((time << 1) & 0x3E);
  tm.tm_isdst = -1;  // the stored time is the local time of its day
  return static_cast<int64_t>(std::mktime(&tm));
}

// Depth-first order: "a", "a/b", "a-b" rather than the plain byte order,
// which would put "a-b" between a folder and its children.
struct DepthFirst {
  bool operator()(const std::string& a, const std::string& b) const {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
      if (a[i] == b[i]) continue;
      if (a[i] == '/') return true;
      if (b[i] == '/') return false;
      return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]);
    }
    return a.size() < b.size();
  }
};

std::string ParentOf(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

// The bytes an entry occupies in the file, from its local header to the end
// of its data.
struct Span {
  uint64_t begin, end;
  const std::string* name;
};

// Reads the local header of `r` and checks it against the directory.
bool CheckLocalHeader(int fd, const ZipDirectory& dir, const ZipRecord& r, uint64_t& dataOffset, std::string& why) {
  const uint64_t limit = dir.directoryOffset;
  if (r.localOffset > limit || limit - r.localOffset < kLocalSize + r.name.size()) {
    why = Damaged("the entry \"" + r.name + "\" lies outside the archive");
    return false;
  }
  std::string head(kLocalSize + r.name.size(), '\0');
  if (!ReadAt(fd, r.localOffset, head.data(), head.size())) {
    why = Damaged("the entry \"" + r.name + "\" cannot be read");
    return false;
  }
  const auto* p = reinterpret_cast<const unsigned char*>(head.data());
  // A local name that differs from the directory's would show other tools
  // another file than the one checked here.
  if (Le32(p) != kLocalSignature || Le16(p + 8) != r.method || Le16(p + 26) != r.name.size() ||
      head.compare(kLocalSize, std::string::npos, r.name) != 0) {
    why = Damaged("the local header of \"" + r.name + "\" does not match the directory");
    return false;
  }
  dataOffset = r.localOffset + kLocalSize + r.name.size() + Le16(p + 28);
  if (dataOffset > limit || limit - dataOffset < r.compressedSize) {
    why = Damaged("the data of \"" + r.name + "\" runs past its place");
    return false;
  }
  return true;
}

bool CheckSizes(const ZipRecord& r, std::string& why) {
  if (r.method == 0 && r.size != r.compressedSize) {
    why = Damaged("the sizes of \"" + r.name + "\" disagree");
    return false;
  }
  if (r.method == 8 && r.size / kMaxDeflateRatio > r.compressedSize + 1) {
    why = "it claims " + std::to_string(r.size) + " bytes for \"" + r.name + "\" from " +
          std::to_string(r.compressedSize) + ", more than compression can give";
    return false;
  }
  return true;
}

// The local headers are read on a thread of their own while the names are
// judged: on a large archive these are the two slow parts of the planning.
class HeaderCheck {
 public:
  HeaderCheck(int fd, const ZipDirectory& dir) : offsets_(dir.records.size()) {
    try {
      thread_ = std::thread([this, fd, &dir] { Run(fd, dir); });
    } catch (const std::system_error&) {
      Run(fd, dir);
    }
  }
  ~HeaderCheck() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  // Waits for the end; false, with the reason, when a header fails.
  bool Passed(std::string& why) {
    if (thread_.joinable()) thread_.join();
    if (why_.empty()) return true;
    why = why_;
    return false;
  }
  uint64_t DataOffset(size_t record) const { return offsets_[record]; }

 private:
  void Run(int fd, const ZipDirectory& dir) {
    for (size_t i = 0; i < offsets_.size() && !stop_; ++i)
      if (!CheckLocalHeader(fd, dir, dir.records[i], offsets_[i], why_)) return;
  }

  std::vector<uint64_t> offsets_;
  std::string why_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// The common name needs no rewriting: relative, without empty, "." or ".."
// parts, without "\" (a "..\" part climbs on Windows). Such a name is its
// own path, less a folder's trailing "/".
bool IsPlainName(const std::string& name) {
  if (name.empty() || name[0] == '/' || name.find('\\') != std::string::npos) return false;
  for (size_t start = 0; start < name.size();) {
    size_t end = name.find('/', start);
    if (end == std::string::npos) end = name.size();
    const size_t len = end - start;
    if (len == 0 || (name[start] == '.' && (len == 1 || (len == 2 && name[start + 1] == '.')))) return false;
    start = end + 1;
  }
  return true;
}

}  // namespace

mode_t ZipEntryMode(const ZipRecord& r) {
  mode_t mode = 0;
  if (r.system == 3) {
    mode = static_cast<mode_t>(r.externalAttributes >> 16);
  } else if (r.system == 0) {
    mode = (r.externalAttributes & 0x10) ? (S_IFDIR | 0775) : (S_IFREG | 0664);
    if (r.externalAttributes & 0x01) mode &= 0555;  // read-only, which also drops the type
  }
  if (S_ISFIFO(mode)) mode = (mode & ~S_IFMT) | S_IFREG;  // a pipe read by an archiver is its content
  if (mode == 0) mode = 0664;
  if ((mode & S_IFMT) != S_IFDIR) {
    if (!r.name.empty() && r.name.back() == '/')
      mode = (mode & ~S_IFMT) | S_IFDIR | 0111;
    else if ((mode & S_IFMT) == 0)
      mode |= S_IFREG;
  }
  return mode;
}

PlanVerdict PlanFastExpansion(int fd, const ZipDirectory& dir, const std::string& destination,
                              const ExpandRules& rules, FastPlan& plan, std::string& why) {
  struct Folder {
    bool fromEntry = false;
    mode_t mode = 0;
    int64_t mtime = 0;
  };
  std::map<std::string, Folder, DepthFirst> folders{{std::string(), Folder{}}};
  std::unordered_set<std::string> filePaths;
  std::vector<size_t> fileRecords;  // the record of each planned file
  uint64_t total = 0;
  HeaderCheck headers(fd, dir);

  for (size_t i = 0; i < dir.records.size(); ++i) {
    const ZipRecord& r = dir.records[i];
    // Encryption and other methods are left to the general reader, which
    // names what it cannot read.
    if ((r.flags & 0x2041) != 0 || (r.method != 0 && r.method != 8)) return PlanVerdict::Fallback;
    std::string name;
    if (!EntryNameOf(r, name, why)) return PlanVerdict::Refuse;
    const std::string path = IsPlainName(name) ? name.substr(0, name.size() - (name.back() == '/'))
                                               : CheckedEntryPath(name, why);
    if (path.empty()) return PlanVerdict::Refuse;
    const mode_t mode = ZipEntryMode(r);
    if (S_ISLNK(mode)) return PlanVerdict::Fallback;
    if (!S_ISREG(mode) && !S_ISDIR(mode)) {
      why = "the entry \"" + r.name + "\" is a device, a pipe or a socket";
      return PlanVerdict::Refuse;
    }
    if (IsMacResourceEntry(path)) continue;
    why = CheckShape(rules, path, S_ISDIR(mode));
    if (!why.empty()) return PlanVerdict::Refuse;
    if (!CheckSizes(r, why)) return PlanVerdict::Refuse;
    if (total + r.size < total) {
      why = Damaged("its sizes add up beyond counting");
      return PlanVerdict::Refuse;
    }
    total += r.size;

    const int64_t mtime = r.hasUnixTime ? r.unixTime : DosTime(r.dosDateTime);
    // Once a folder is known, so are all above it.
    for (std::string up = ParentOf(path); !up.empty() && folders.try_emplace(up).second; up = ParentOf(up)) {
    }
    if (S_ISDIR(mode)) {
      if (r.size != 0) return PlanVerdict::Fallback;  // a folder with content: odd
      folders[path] = Folder{true, mode & 0777, mtime};
    } else {
      // The same name twice, or once as a file and once as a folder: the
      // order of writing would matter, which the general expander keeps.
      if (!filePaths.insert(path).second) return PlanVerdict::Fallback;
      plan.files.push_back(FastFile{path, {}, 0, r.method, r.crc, r.compressedSize, r.size, 0, mode & 0777, mtime});
      fileRecords.push_back(i);
    }
  }
  if (!headers.Passed(why)) return PlanVerdict::Refuse;
  why = CheckWholeShape(rules, plan.files.size() + folders.size() - 1);
  if (!why.empty()) return PlanVerdict::Refuse;

  // An entry's bytes may serve one entry only; a small archive that names
  // the same compressed bytes again and again expands to any size.
  std::vector<Span> spans;
  spans.reserve(dir.records.size());
  for (size_t i = 0; i < dir.records.size(); ++i) {
    const ZipRecord& r = dir.records[i];
    spans.push_back({r.localOffset, headers.DataOffset(i) + r.compressedSize, &r.name});
  }
  std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.begin < b.begin; });
  for (size_t i = 1; i < spans.size(); ++i) {
    if (spans[i].begin < spans[i - 1].end) {
      why = "it is built to exhaust the disc (the entries \"" + *spans[i - 1].name + "\" and \"" + *spans[i].name +
            "\" share their bytes)";
      return PlanVerdict::Refuse;
    }
  }
  for (size_t k = 0; k < plan.files.size(); ++k) plan.files[k].dataOffset = headers.DataOffset(fileRecords[k]);
  struct statvfs fsInfo;
  if (statvfs(destination.c_str(), &fsInfo) == 0) {
    const uint64_t free = static_cast<uint64_t>(fsInfo.f_bavail) * fsInfo.f_frsize;
    if (total > free) {
      why = "it needs " + std::to_string(total) + " bytes and the destination has " + std::to_string(free) + " free";
      return PlanVerdict::Refuse;
    }
  }

  std::unordered_map<std::string, uint32_t> index;
  for (auto& [path, f] : folders) {
    if (filePaths.count(path)) return PlanVerdict::Fallback;
    const uint32_t parent = path.empty() ? 0 : index.at(ParentOf(path));
    index.emplace(path, static_cast<uint32_t>(plan.folders.size()));
    plan.folders.push_back(FastFolder{path, path.substr(path.rfind('/') + 1), parent, f.fromEntry, f.mode, f.mtime});
  }
  for (FastFile& file : plan.files) {
    file.folder = index.at(ParentOf(file.path));
    file.leaf = file.path.substr(file.path.rfind('/') + 1);
  }
  const auto entryFolders = std::count_if(plan.folders.begin(), plan.folders.end(), [](const FastFolder& f) { return f.fromEntry; });
  plan.totalUnits = static_cast<int64_t>(total + plan.files.size() + static_cast<uint64_t>(entryFolders));
  return PlanVerdict::Fast;
}

}  // namespace ostrel
