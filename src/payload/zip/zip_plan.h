// What the fast expander will write, settled from the central directory
// before anything is written: every entry passes the same rules as with the
// general expander, and the archive's own claims (sizes, offsets, the local
// headers) are checked against each other and against the file.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "payload/zip/zip_directory.h"
#include "payload/zip/zip_entry_rules.h"

namespace ostrel {

struct FastFolder {
  std::string path;  // relative to the destination; empty for the destination itself
  std::string leaf;  // the last part of the path
  uint32_t parent = 0;
  bool fromEntry = false;  // an entry of its own, whose mode and time it takes
  mode_t mode = 0;         // permission bits, setuid, setgid and sticky dropped
  int64_t mtime = 0;
};

struct FastFile {
  std::string path, leaf;
  uint32_t folder = 0;
  uint16_t method = 0;  // 0 stored, 8 deflated
  uint32_t crc = 0;
  uint64_t compressedSize = 0, size = 0, dataOffset = 0;
  mode_t mode = 0;
  int64_t mtime = 0;
};

struct FastPlan {
  std::vector<FastFolder> folders;  // [0] is the destination; depth first, parents before children
  std::vector<FastFile> files;      // in the archive's order
  int64_t totalUnits = 0;           // content bytes plus one for each entry
};

enum class PlanVerdict {
  Fast,      // the plan is ready
  Fallback,  // something this reader leaves to the general expander
  Refuse,    // the archive breaks a rule or lies; `why` says how
};

// Plans the expansion of the archive `fd`, whose directory has been read,
// into `destination` (used for its free space only).
PlanVerdict PlanFastExpansion(int fd, const ZipDirectory& dir, const std::string& destination,
                              const ExpandRules& rules, FastPlan& plan, std::string& why);

// An entry's file type and permission bits as zip tools agree to read them
// from the "made by" system and the external attributes.
mode_t ZipEntryMode(const ZipRecord& r);

}  // namespace ostrel
