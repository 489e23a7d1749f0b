// Joining the pieces of a split setup: each piece streams onto the end of
// the working archive, checked against the manifest as it goes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "payload/manifest.h"

namespace ostrel {

struct PieceOutcome {
  enum Kind { Joined, Unreadable, Damaged, WriteFailed };
  Kind kind = Joined;
  int error = 0;  // the errno of an unreadable piece or a failed write
};

// Appends the whole file at `path` to `out` (a file open for writing),
// checked against `expected` when it is given. Anything but Joined cuts
// `out` back to the length it had, so that nothing of a bad piece stays.
// `progress` hears the bytes of this piece appended so far.
PieceOutcome AppendPiece(int out, const std::string& path, const ManifestEntry* expected,
                         const std::function<void(uint64_t bytes)>& progress = {});

}  // namespace ostrel
