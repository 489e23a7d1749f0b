// A folder's whole tree as a map, for tests that prove what changed and what
// did not: relative path to a file's bytes, "-> target" for a link, "<dir>"
// for a folder. Links are not followed. A missing folder gives an empty map.
#pragma once

#include <map>
#include <string>

namespace ostrel::test {

using Tree = std::map<std::string, std::string>;

Tree TreeOf(const std::string& folder);

}  // namespace ostrel::test
