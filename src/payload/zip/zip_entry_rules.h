// The rules an archive entry must pass before anything of it is written:
// its name stays below the destination, and a link it makes points into it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// What the archive must look like as a whole, beyond the rules every entry
// passes. With `topFolder` set, every entry lies in that one folder (the
// folder itself may be an entry), and an archive with no entry is refused.
struct ExpandRules {
  std::string topFolder;
};

// The parts of a path between its "/", without empty parts and ".".
std::vector<std::string> PathParts(const std::string& path);

// The entry's name as a plain relative path ("./a//b/" gives "a/b"). Empty,
// with the reason in `why`, for an absolute name, a name with a ".." part,
// or a name with nothing left.
std::string CheckedEntryPath(const std::string& name, std::string& why);

// Whether a link stored at `entryPath` and pointing at `target` stays inside
// the destination when read as written: not absolute, and no ".." climbs
// above the destination at any point.
bool LinkTargetStaysInside(const std::string& entryPath, const std::string& target);

// The target of the link at an absolute path, or nothing when no link lies there.
using LinkLookup = std::function<std::optional<std::string>(const std::string& path)>;
// The links on the disc, as the system sees them.
std::optional<std::string> LinkOnDisc(const std::string& path);

// Whether `relative`, resolved below `root` (an absolute path free of links)
// the way the system resolves it, following the links that `linkAt` names
// and taking missing parts as written, ends inside `root`.
bool ResolvesInside(const std::string& root, const std::string& relative, const LinkLookup& linkAt = LinkOnDisc);

// The entries under "__MACOSX/" hold the resource forks of macOS's archiver,
// which mean nothing here: they are never written.
bool IsMacResourceEntry(const std::string& path);

// Empty, or why an entry at the checked `path` breaks the archive's shape.
std::string CheckShape(const ExpandRules& rules, const std::string& path, bool isFolder);
// Empty, or why an archive whose entries were all checked breaks its shape
// as a whole (`entries` counts those that are written).
std::string CheckWholeShape(const ExpandRules& rules, size_t entries);

}  // namespace ostrel
