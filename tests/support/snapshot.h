// Trees as they stand on the disc, to show what an operation changed and
// what it had no business with. Links are never followed.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace ostrel::test {

// A folder's whole tree by relative path: a file's bytes, "-> target" for a
// link, "<dir>" for a folder. A missing folder gives an empty map.
using Tree = std::map<std::string, std::string>;
Tree TreeOf(const std::string& folder);

// Every item below `root` by relative path: the kind, mode, size and a
// checksum of a file's bytes, a link's target. Paths in `skip` (relative,
// with their subtrees) are left out.
using Snapshot = std::map<std::string, std::string>;
Snapshot TakeSnapshot(const std::string& root, const std::vector<std::string>& skip = {});
// What differs between two snapshots, a line for each path; empty when none.
std::string SnapshotDiff(const Snapshot& was, const Snapshot& now);
// The same for two trees: empty when they hold the same items, with the
// same kinds, modes and bytes.
std::string TreeDiff(const std::string& expected, const std::string& actual);

}  // namespace ostrel::test
