#include "payload/zip/zip_entry_rules.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <deque>

namespace ostrel {
namespace {

std::string Join(const std::vector<std::string>& parts) {
  std::string path;
  for (const auto& part : parts) path += "/" + part;
  return path.empty() ? "/" : path;
}

}  // namespace

std::vector<std::string> PathParts(const std::string& path) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    std::string part = path.substr(start, end - start);
    if (!part.empty() && part != ".") parts.push_back(std::move(part));
    start = end + 1;
  }
  return parts;
}

std::string CheckedEntryPath(const std::string& name, std::string& why) {
  if (!name.empty() && name[0] == '/') {
    why = "the entry \"" + name + "\" has an absolute path";
    return {};
  }
  std::string path;
  for (const auto& part : PathParts(name)) {
    // "..\" climbs where the archive was made, and wherever it is unpacked
    // on Windows: a part that climbs by either separator is refused.
    if (part == ".." || part.starts_with("..\\") || part.ends_with("\\..") || part.find("\\..\\") != std::string::npos) {
      why = "the entry \"" + name + "\" would lie outside the destination";
      return {};
    }
    path += (path.empty() ? "" : "/") + part;
  }
  if (path.empty()) why = "an entry has no name";
  return path;
}

bool LinkTargetStaysInside(const std::string& entryPath, const std::string& target) {
  if (target.empty() || target[0] == '/') return false;
  // The link's own folder is where its target starts from.
  long depth = static_cast<long>(PathParts(entryPath).size()) - 1;
  for (const auto& part : PathParts(target)) {
    depth += part == ".." ? -1 : 1;
    if (depth < 0) return false;
  }
  return true;
}

std::optional<std::string> LinkOnDisc(const std::string& path) {
  struct stat st;
  if (lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return std::nullopt;
  char target[PATH_MAX];
  const ssize_t n = readlink(path.c_str(), target, sizeof target - 1);
  if (n < 0) return std::string("/");  // unreadable: taken as leading anywhere
  return std::string(target, static_cast<size_t>(n));
}

bool ResolvesInside(const std::string& root, const std::string& relative, const LinkLookup& linkAt) {
  const std::vector<std::string> rootParts = PathParts(root);
  std::vector<std::string> current = rootParts;
  std::deque<std::string> todo;
  for (auto& part : PathParts(relative)) todo.push_back(std::move(part));
  int linksFollowed = 0;
  while (!todo.empty()) {
    const std::string part = std::move(todo.front());
    todo.pop_front();
    if (part == "..") {
      if (!current.empty()) current.pop_back();
      continue;
    }
    current.push_back(part);
    const std::optional<std::string> target = linkAt(Join(current));
    if (!target) continue;
    if (++linksFollowed > 40) return false;  // a loop: the system would give up too
    current.pop_back();
    if (target->empty() || (*target)[0] == '/') current.clear();
    const auto linkParts = PathParts(*target);
    todo.insert(todo.begin(), linkParts.begin(), linkParts.end());
  }
  if (current.size() < rootParts.size()) return false;
  for (size_t i = 0; i < rootParts.size(); ++i)
    if (current[i] != rootParts[i]) return false;
  return true;
}

bool IsMacResourceEntry(const std::string& path) { return path == "__MACOSX" || path.starts_with("__MACOSX/"); }

std::string CheckShape(const ExpandRules& rules, const std::string& path, bool isFolder) {
  const std::string& top = rules.topFolder;
  if (top.empty()) return {};
  if (path == top && !isFolder) return "it holds a file \"" + top + "\" where the folder of that name belongs";
  if (path != top && !path.starts_with(top + "/"))
    return "its entry \"" + path + "\" lies outside the folder \"" + top + "\"";
  return {};
}

std::string CheckWholeShape(const ExpandRules& rules, size_t entries) {
  return !rules.topFolder.empty() && entries == 0 ? "it is empty" : std::string();
}

}  // namespace ostrel
