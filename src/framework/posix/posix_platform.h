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
  int RunShellCommand(const std::string& commandLine) override;
  void ShowURL(const std::string& url) override;
  std::string ClipboardText() override;
  void SetClipboardText(const std::string& text) override;
  void BringToFront() override {}
  // A folder on iso9660 or udf; the disc is ejected by "eject" with the
  // folder's mount point, and the quarantine clearing does nothing on Linux.
  bool FolderIsOnDisc(const std::string& folder) override;
  void EjectDisc(const std::string& folder) override;
  void ClearQuarantine(const std::string& path, const std::string& password) override;

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

// Starts a program with an argument list, no shell, in a session of its
// own, with our environment; answers the pid or -1.
int SpawnDetached(const std::vector<std::string>& argv);

// What a launch of `path` starts: a bundle "X.app" its program
// "Contents/MacOS/X", or else the one executable file in "Contents/MacOS";
// an executable file itself; anything else goes to xdg-open.
std::vector<std::string> LaunchArguments(const std::string& path);

// How long the setup's shell command is waited for before the installer
// goes on without it (it then runs on by itself).
constexpr int64_t kShellCommandGiveUpTicks = 10 * 60 * 60;

// Runs a program with an argument list, no shell, hands it `input` on its
// standard input (and nothing else: its output goes nowhere) and waits for
// its end, calling `idle` between looks; its exit code, or -1 when it could
// not start or was killed after `timeoutMs`.
int RunAndWait(const std::vector<std::string>& argv, const std::string& input, int timeoutMs,
               const std::function<void()>& idle = {});

// The folder on which the file system that holds `path` is mounted.
std::string MountPointOf(const std::string& path);

// The command that takes the quarantine mark off `path` on macOS; the
// password goes to it on its standard input.
std::vector<std::string> QuarantineCommand(const std::string& path);

}  // namespace fw
