// A tree as it stands, to show that an operation changed nothing it had no
// business with.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace ostrel::test {

// Every item below `root` by relative path, links not followed: the kind,
// mode, size and a checksum of a file's bytes, a link's target. Paths in
// `skip` (relative, with their subtrees) are left out.
using Snapshot = std::map<std::string, std::string>;
Snapshot TakeSnapshot(const std::string& root, const std::vector<std::string>& skip = {});
// What differs between two snapshots, a line for each path; empty when none.
std::string SnapshotDiff(const Snapshot& was, const Snapshot& now);

}  // namespace ostrel::test
