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
  // An event may schedule another: take them one at a time.
  while (!events_.empty() && events_.begin()->first <= ticks) {
    auto event = std::move(events_.begin()->second);
    events_.erase(events_.begin());
    event();
  }
  if (onDoEvents) onDoEvents();
}

void VirtualPlatform::At(int64_t tick, std::function<void()> event) { events_.emplace(tick, std::move(event)); }

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
  if (onLaunch) onLaunch(path);
}

int VirtualPlatform::RunShellCommand(const std::string& commandLine) {
  shellCommands.push_back(commandLine);
  return shellStatus;
}

void VirtualPlatform::ShowURL(const std::string& url) { urls.push_back(url); }

bool VirtualPlatform::FolderIsOnDisc(const std::string& folder) {
  for (const auto& disc : discFolders)
    if (!disc.empty() && folder.compare(0, disc.size(), disc) == 0) return true;
  return false;
}

void VirtualPlatform::EjectDisc(const std::string& folder) {
  ejected.push_back(folder);
  if (onEject) onEject(folder);
}

void VirtualPlatform::ClearQuarantine(const std::string& path, const std::string& password) {
  quarantineClearings.push_back({path, password});
}

std::string VirtualPlatform::ClipboardText() {
  std::lock_guard<std::mutex> lock(clipboardMutex_);
  return clipboard_;
}

void VirtualPlatform::SetClipboardText(const std::string& text) {
  std::lock_guard<std::mutex> lock(clipboardMutex_);
  clipboard_ = text;
}

}  // namespace fw::testing
