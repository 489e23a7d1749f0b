#include "framework/testing/virtual_platform.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace fw::testing {

int64_t VirtualPlatform::Ticks() { return ticks; }

void VirtualPlatform::DoEvents(int milliseconds) {
  ++doEventsCalls;
  const int64_t step = static_cast<int64_t>(milliseconds) * 60 / 1000;
  ticks += step > 0 ? step : 1;
  std::this_thread::sleep_for(std::chrono::microseconds(200));
  if (onDoEvents) onDoEvents();
}

std::string VirtualPlatform::SpecialFolder(SpecialFolderKind kind) {
  auto it = folders.find(kind);
  if (it == folders.end()) throw std::logic_error("test did not inject this special folder");
  return it->second;
}

std::vector<std::string> VirtualPlatform::KeptFolders() {
  std::vector<std::string> kept = keptFolders;
  for (auto kind : {SpecialFolderKind::Home, SpecialFolderKind::Desktop, SpecialFolderKind::Applications})
    if (auto it = folders.find(kind); it != folders.end()) kept.push_back(it->second);
  return kept;
}

bool VirtualPlatform::Gestalt(const std::string& selector, int64_t& value) {
  auto it = facts.find(selector);
  if (it == facts.end()) return false;
  value = it->second;
  return true;
}

void VirtualPlatform::LaunchExternal(const std::string& path, bool activate) {
  launches.push_back({path, activate});
}

void VirtualPlatform::ShowURL(const std::string& url) { urls.push_back(url); }

std::string VirtualPlatform::ClipboardText() {
  std::lock_guard<std::mutex> lock(clipboardMutex_);
  return clipboard_;
}

void VirtualPlatform::SetClipboardText(const std::string& text) {
  std::lock_guard<std::mutex> lock(clipboardMutex_);
  clipboard_ = text;
}

}  // namespace fw::testing
