// The platform on Linux (and, for most of it, any POSIX system). Everything
// the installer asks of the operating system goes through here.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "framework/runtime.h"

namespace fw {

class PosixPlatform : public Platform {
 public:
  PosixPlatform();
  int64_t Ticks() override;
  // Without a windowing backend this only sleeps; the Qt backend runs its events here.
  void DoEvents(int milliseconds) override;
  std::string SpecialFolder(SpecialFolderKind kind) override;
  std::vector<std::string> KeptFolders() override;
  bool Gestalt(const std::string& selector, int64_t& value) override;
  std::string ExecutablePath() override;
  void LaunchExternal(const std::string& path, bool activate) override;
  void ShowURL(const std::string& url) override;
  std::string ClipboardText() override;
  void SetClipboardText(const std::string& text) override;
  void BringToFront() override {}

  // Runs pending window events for at most the given time.
  std::function<void(int milliseconds)> eventPump;

 private:
  static std::vector<std::string> ReadKeptFolders();
  std::once_flag keptOnce_;
  std::vector<std::string> kept_;
  std::mutex clipboardMutex_;
  std::string clipboard_;
  int64_t startMs_;
};

// The user's private temporary folder below `base`: created 0700 when
// missing, refused when it is a link, another user's, or open to others.
// Throws IOException with a plain sentence when it cannot be made safe.
std::string PrivateTemporaryFolder(const std::string& base);

// One of the user's standard folders by the XDG user-dirs file ("DESKTOP",
// "DOCUMENTS", ...), else `home`/`fallbackName`.
std::string XdgUserFolder(const std::string& home, const std::string& key, const std::string& fallbackName);

// The memory installed, in megabytes: the kernel's memory blocks below
// `blocksFolder` (/sys/devices/system/memory), rounded up to whole GiB as a
// machine is sold; else the usable memory that `meminfo` (/proc/meminfo)
// reports. 0 when neither can be read.
int64_t InstalledMemoryMB(const std::string& blocksFolder, const std::string& meminfo);

// Starts a program with an argument list, no shell; answers the pid or -1.
int SpawnDetached(const std::vector<std::string>& argv);

}  // namespace fw
