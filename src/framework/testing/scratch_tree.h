// Removal of a test's or a fuzz run's scratch tree, whatever the code under
// test did to it: folders made unreadable are opened up first, and links are
// removed as links, never followed.
#pragma once

#include <filesystem>

namespace fw::testing {

void RemoveScratchTree(const std::filesystem::path& p);

}  // namespace fw::testing
