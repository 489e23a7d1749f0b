// Test seam for the platform: a virtual clock that the event loop advances,
// injected special folders and system facts, recorded launches and URLs, and
// an in-memory clipboard. A wait of 180 ticks costs no real time.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "framework/runtime.h"

namespace fw::testing {

class VirtualPlatform : public Platform {
 public:
  struct Launched {
    std::string path;
    bool activate;
  };

  int64_t Ticks() override;
  // Advances the clock by the time asked for (at least one tick) and gives
  // background threads a real moment to run.
  void DoEvents(int milliseconds) override;
  std::string SpecialFolder(SpecialFolderKind kind) override;
  // The injected home, desktop and applications folders, and `keptFolders`.
  std::vector<std::string> KeptFolders() override;
  bool Gestalt(const std::string& selector, int64_t& value) override;
  std::string ExecutablePath() override { return executablePath; }
  void LaunchExternal(const std::string& path, bool activate) override;
  void ShowURL(const std::string& url) override;
  std::string ClipboardText() override;
  void SetClipboardText(const std::string& text) override;
  void BringToFront() override { ++broughtToFront; }

  int64_t ticks = 0;
  int64_t doEventsCalls = 0;
  std::map<SpecialFolderKind, std::string> folders;
  std::vector<std::string> keptFolders;
  std::map<std::string, int64_t> facts;  // a missing selector fails
  std::string executablePath;
  std::vector<Launched> launches;
  std::vector<std::string> urls;
  int broughtToFront = 0;
  // Runs at every DoEvents, after the clock has moved: a test acts at the
  // moments the logic yields (looks at the window, stops the run there).
  std::function<void()> onDoEvents;

 private:
  std::mutex clipboardMutex_;
  std::string clipboard_;
};

}  // namespace fw::testing
