#include "framework/runtime.h"

#include <cstdlib>

#include <map>
#include <mutex>

#include "framework/folder_item.h"
#include "framework/text.h"

namespace fw {
namespace {

Platform* gPlatform = nullptr;
UI* gUI = nullptr;

std::map<std::string, Opener>& Openers() {
  static std::map<std::string, Opener> openers;
  return openers;
}

}  // namespace

void Install(Platform* platform, UI* ui) {
  gPlatform = platform;
  gUI = ui;
}

Platform& CurrentPlatform() {
  if (!gPlatform) throw std::logic_error("no platform installed");
  return *gPlatform;
}

UI& CurrentUI() {
  if (!gUI) throw std::logic_error("no user interface installed");
  return *gUI;
}

void Quit(int code) { throw QuitRequest{code}; }
int64_t Ticks() { return CurrentPlatform().Ticks(); }
void DoEvents(int milliseconds) { CurrentPlatform().DoEvents(milliseconds); }
void MsgBox(const std::string& text) { CurrentUI().MsgBox(text); }
void ShowURL(const std::string& url) { CurrentPlatform().ShowURL(url); }
std::string GetClipboardText() { return CurrentPlatform().ClipboardText(); }
void SetClipboardText(const std::string& text) { CurrentPlatform().SetClipboardText(text); }
bool Gestalt(const std::string& selector, int64_t& value) {
  return CurrentPlatform().Gestalt(selector, value);
}
void BringToFront() { CurrentPlatform().BringToFront(); }
int RunShellCommand(const std::string& commandLine) { return CurrentPlatform().RunShellCommand(commandLine); }
void SetProgramEnvironment(const std::string& name, const std::string& value) {
  setenv(name.c_str(), value.c_str(), 1);
}
void SetWaitCursor(bool waiting) { CurrentUI().SetWaitCursor(waiting); }
bool FolderIsOnDisc(const std::string& folder) { return CurrentPlatform().FolderIsOnDisc(folder); }
void EjectDisc(const std::string& folder) { CurrentPlatform().EjectDisc(folder); }
void ClearQuarantine(const std::string& path, const std::string& password) {
  CurrentPlatform().ClearQuarantine(path, password);
}

FolderItem SpecialFolder(SpecialFolderKind kind) {
  return FolderItem(CurrentPlatform().SpecialFolder(kind));
}

FolderItem ExecutableFile() { return FolderItem(CurrentPlatform().ExecutablePath()); }

void RegisterOpener(const std::string& extension, Opener opener) {
  if (!opener) {
    Openers().erase(AsciiLower(extension));
    return;
  }
  Openers()[AsciiLower(extension)] = std::move(opener);
}

void Launch(const std::string& path, bool activate) {
  const auto dot = path.find_last_of("./");
  if (dot != std::string::npos && path[dot] == '.') {
    auto it = Openers().find(AsciiLower(path.substr(dot)));
    if (it != Openers().end()) {
      it->second(path);
      return;
    }
  }
  CurrentPlatform().LaunchExternal(path, activate);
}

std::optional<int> RunGuarded(const std::function<void()>& body) {
  try {
    body();
    return std::nullopt;
  } catch (const QuitRequest& q) {
    return q.code;
  } catch (const std::exception& e) {
    // One plain report, then the run ends as every other run does.
    try {
      MsgBox(std::string("The installer met a problem it cannot recover from and will stop.\n\n") +
             e.what());
    } catch (...) {
    }
    return 0;
  } catch (...) {
    try {
      MsgBox("The installer met a problem it cannot recover from and will stop.");
    } catch (...) {
    }
    return 0;
  }
}

}  // namespace fw
