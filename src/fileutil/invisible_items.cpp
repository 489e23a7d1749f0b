#include "fileutil/invisible_items.h"

#include <mutex>
#include <set>

#include "framework/folder_item.h"

namespace ViewConst::detail {
namespace {

std::mutex gMutex;
std::set<std::string> gHidden;

}  // namespace

void RememberInvisible(const std::string& path) {
  std::lock_guard<std::mutex> lock(gMutex);
  gHidden.insert(path);
}

void ReleaseInvisible(const std::string& path) {
  {
    std::lock_guard<std::mutex> lock(gMutex);
    if (gHidden.erase(path) == 0) return;
  }
  fw::FolderItem(path).SetVisible(true);
}

}  // namespace ViewConst::detail
