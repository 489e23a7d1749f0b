#include "support/snapshot.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace ostrel::test {
namespace {

namespace fs = std::filesystem;

std::string Describe(const fs::path& p) {
  struct stat st;
  if (lstat(p.c_str(), &st) != 0) return "gone";
  std::ostringstream d;
  d << std::oct << (st.st_mode & 07777) << std::dec;
  if (S_ISLNK(st.st_mode)) return "link " + fs::read_symlink(p).string();
  if (S_ISDIR(st.st_mode)) return "folder " + d.str();
  if (!S_ISREG(st.st_mode)) return "special " + d.str();
  std::ifstream in(p, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto crc = crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()));
  d << " " << bytes.size() << " bytes, crc " << crc << ", links " << st.st_nlink;
  return "file " + d.str();
}

}  // namespace

Tree TreeOf(const std::string& folder) {
  Tree tree;
  std::error_code ec;
  if (!fs::is_directory(fs::symlink_status(folder, ec))) return tree;
  for (auto it = fs::recursive_directory_iterator(folder, ec); it != fs::recursive_directory_iterator(); ++it) {
    const std::string rel = it->path().lexically_relative(folder).string();
    if (it->is_symlink()) {
      tree[rel] = "-> " + fs::read_symlink(it->path()).string();
    } else if (it->is_directory()) {
      tree[rel] = "<dir>";
    } else {
      std::ifstream in(it->path(), std::ios::binary);
      tree[rel].assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  }
  return tree;
}

Snapshot TakeSnapshot(const std::string& root, const std::vector<std::string>& skip) {
  Snapshot s;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(root, ec); it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (ec) break;
    const std::string rel = it->path().lexically_relative(root).string();
    if (std::find(skip.begin(), skip.end(), rel) != skip.end()) {
      it.disable_recursion_pending();
      continue;
    }
    s[rel] = Describe(it->path());
  }
  return s;
}

std::string SnapshotDiff(const Snapshot& was, const Snapshot& now) {
  std::string diff;
  for (const auto& [path, what] : now) {
    auto before = was.find(path);
    if (before == was.end()) diff += "  new: " + path + " (" + what + ")\n";
    else if (before->second != what) diff += "  changed: " + path + " (" + before->second + " -> " + what + ")\n";
  }
  for (const auto& [path, what] : was)
    if (!now.count(path)) diff += "  gone: " + path + "\n";
  return diff;
}

std::string TreeDiff(const std::string& expected, const std::string& actual) {
  for (const auto& folder : {expected, actual})
    if (!fs::is_directory(folder)) return "no folder " + folder;
  return SnapshotDiff(TakeSnapshot(expected), TakeSnapshot(actual));
}

}  // namespace ostrel::test
