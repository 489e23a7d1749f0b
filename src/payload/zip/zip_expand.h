// Expansion of a zip archive inside the process, with every entry checked
// before anything is written: nothing lands outside the destination, no
// device, pipe, socket or hard link is made, setuid and setgid bits are
// dropped, and a link may only point into the destination.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "payload/zip/zip_entry_rules.h"

namespace ostrel {

// Progress of one expansion, read from other threads while it runs. Units are
// the bytes of the entries' content plus one for each entry.
struct ExpandProgress {
  std::atomic<int64_t> done{0};
  std::atomic<int64_t> total{0};  // known once the archive has been surveyed
};

struct ExpandResult {
  bool ok = false;
  std::string error;  // a phrase that completes "could not be expanded: "
  bool fastPath = false;  // the archive's own reader did it, not the general one
};

// Expands `archive` into `folder`, which is created when missing; existing
// files of the same names are replaced, others are left alone. A refused
// entry, an archive of another shape than `rules` ask for, or a damaged
// archive gives ok false, before anything is written. Blocks; changes the
// working folder of the calling thread only while it runs.
ExpandResult ExpandZipArchive(const std::string& archive, const std::string& folder,
                              ExpandProgress* progress = nullptr, const ExpandRules& rules = {});

}  // namespace ostrel
