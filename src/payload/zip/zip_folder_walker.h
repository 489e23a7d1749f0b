// Reaching the folders of a fast expansion by descriptor: each step down is
// an openat() with O_NOFOLLOW from the folder above, starting at the open
// destination, so no link (one planted during the expansion included) can
// lead a write elsewhere. The open chain is kept, so that entries of one
// folder, or of its neighbours, cost no reopening.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "payload/zip/zip_plan.h"

namespace ostrel {

class FolderWalker {
 public:
  FolderWalker(const FastPlan& plan, int destination) : plan_(plan), root_(destination) {}
  ~FolderWalker();
  FolderWalker(const FolderWalker&) = delete;
  FolderWalker& operator=(const FolderWalker&) = delete;

  // The open folder `index` of the plan (0 is the destination), or -1 with
  // errno set. Valid until the next call.
  int Open(uint32_t index);

 private:
  const FastPlan& plan_;
  int root_;
  std::vector<std::pair<uint32_t, int>> open_;  // below the destination, outermost first
  std::vector<uint32_t> chain_;
};

}  // namespace ostrel
