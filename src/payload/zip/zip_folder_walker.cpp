#include "payload/zip/zip_folder_walker.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

namespace ostrel {

FolderWalker::~FolderWalker() {
  for (auto& [index, fd] : open_) close(fd);
}

int FolderWalker::Open(uint32_t index) {
  if (index == 0) return root_;
  if (!open_.empty() && open_.back().first == index) return open_.back().second;
  chain_.clear();
  for (uint32_t i = index; i != 0; i = plan_.folders[i].parent) chain_.push_back(i);
  std::reverse(chain_.begin(), chain_.end());
  size_t keep = 0;
  while (keep < open_.size() && keep < chain_.size() && open_[keep].first == chain_[keep]) ++keep;
  while (open_.size() > keep) {
    close(open_.back().second);
    open_.pop_back();
  }
  for (size_t k = keep; k < chain_.size(); ++k) {
    const int parent = open_.empty() ? root_ : open_.back().second;
    const int fd = openat(parent, plan_.folders[chain_[k]].leaf.c_str(),
                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return -1;
    open_.emplace_back(chain_[k], fd);
  }
  return open_.back().second;
}

}  // namespace ostrel
