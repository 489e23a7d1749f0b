// Test seam for the platform: a virtual clock that the event loop advances,
// injected special folders and system facts, recorded launches, URLs and
// shell commands, an in-memory clipboard, injected discs and recorded
// ejections and quarantine clearings. A wait of 180 ticks costs no real
// time. Scripted events run when the clock reaches their tick, so that a
// launched program can be played: it answers on the clipboard at set times.
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
  // Recorded; answers `shellStatus`.
  int RunShellCommand(const std::string& commandLine) override;
  void ShowURL(const std::string& url) override;
  std::string ClipboardText() override;
  void SetClipboardText(const std::string& text) override;
  void BringToFront() override { ++broughtToFront; }
  // True for a folder in (or below) one of `discFolders`.
  bool FolderIsOnDisc(const std::string& folder) override;
  // Records the folder, then lets the test swap the disc by `onEject`.
  void EjectDisc(const std::string& folder) override;
  void ClearQuarantine(const std::string& path, const std::string& password) override;

  // Runs `event` inside the first DoEvents that brings the clock to `tick` or beyond.
  void At(int64_t tick, std::function<void()> event);

  int64_t ticks = 0;
  int64_t doEventsCalls = 0;
  std::map<SpecialFolderKind, std::string> folders;
  std::vector<std::string> keptFolders;
  std::map<std::string, int64_t> facts;  // a missing selector fails
  std::string executablePath;
  std::vector<Launched> launches;
  std::vector<std::string> urls;
  std::vector<std::string> shellCommands;
  int shellStatus = 0;
  // Called after each launch is recorded, e.g. to script the program's answers.
  std::function<void(const std::string& path)> onLaunch;
  int broughtToFront = 0;
  std::vector<std::string> discFolders;
  std::vector<std::string> ejected;
  std::function<void(const std::string& folder)> onEject;
  struct QuarantineClearing {
    std::string path, password;
  };
  std::vector<QuarantineClearing> quarantineClearings;
  // Runs at every DoEvents, after the clock has moved: a test acts at the
  // moments the logic yields (looks at the window, stops the run there).
  std::function<void()> onDoEvents;

 private:
  std::mutex clipboardMutex_;
  std::string clipboard_;
  std::multimap<int64_t, std::function<void()>> events_;
};

}  // namespace fw::testing
