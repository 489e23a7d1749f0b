// The rules an archive entry must pass before anything of it is written:
// its name stays below the destination, and a link it makes points into it.
#pragma once

#include <string>
#include <vector>

namespace ostrel {

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

// Whether `relative`, resolved below `root` (an absolute path free of links)
// the way the system resolves it, following the links now on the disc and
// taking missing parts as written, ends inside `root`.
bool ResolvesInside(const std::string& root, const std::string& relative);

}  // namespace ostrel
