// How long the wait for the main archive's expansion is shown as lasting, in
// ticks (60 a second), from the archive's size: one unit of 30 ticks per
// started 3,000,000 bytes, twice as long on a slow system, then halved above
// 30,000,000 bytes or quartered above 300,000,000, truncated.
#pragma once

#include <cstdint>

namespace ostrel {

int64_t ExpansionWaitTicks(int64_t archiveLength, bool slowSystem);

// How long ZipFileDelete goes on trying to remove the working archive, one
// try a second, before it leaves it where it is.
constexpr int64_t kArchiveDeleteGiveUpTicks = 30 * 60;

}  // namespace ostrel
