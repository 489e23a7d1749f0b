// The services the installer logic calls as free functions, the way the
// application framework offers them: quitting, ticks and the event loop,
// message boxes, URLs, launching, the clipboard, special folders and system
// facts. Each call goes to the installed Platform and UI, so tests swap both
// for seams (virtual clock, recorded launches, scripted answers).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace fw {

class Window;
class FolderItem;

// Thrown by Quit; the top level turns it into the process's exit.
struct QuitRequest {
  int code = 0;
};

// Framework exceptions that the logic may raise and the top level reports.
struct NilObjectException : std::runtime_error {
  using std::runtime_error::runtime_error;
};
struct IOException : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// `Shared` is the folder that a copied application passes through on its way
// into the applications folder: "/Users/Shared" on macOS, the private
// temporary folder here.
enum class SpecialFolderKind { Temporary, Home, Desktop, Applications, System, Shared };

// Model of the system's folder chooser.
struct FolderDialog {
  std::string title = "Select Folder";
  std::string actionCaption = "Choose";
  std::string cancelCaption = "Cancel";
  std::string initialDirectory;
};

// What the windowing backend does with window models.
class UI {
 public:
  virtual ~UI() = default;
  virtual void Show(Window& w) = 0;
  virtual void Hide(Window& w) = 0;
  // Shows the window and returns once the window has hidden itself.
  virtual void ShowModal(Window& w) = 0;
  // The model changed: redraw it now.
  virtual void Changed(Window& w) = 0;
  virtual void Destroyed(Window& w) = 0;
  virtual void MsgBox(const std::string& text) = 0;
  // Empty when the user cancelled.
  virtual std::optional<std::string> SelectFolder(const FolderDialog& d) = 0;
  // The application's mouse pointer: the system's wait cursor, or the default.
  virtual void SetWaitCursor(bool waiting) {}
};

// The operating system beneath the installer.
class Platform {
 public:
  virtual ~Platform() = default;
  virtual int64_t Ticks() = 0;  // 60 a second
  virtual void DoEvents(int milliseconds) = 0;
  // Absolute path without a trailing "/". The temporary folder is private to the user.
  virtual std::string SpecialFolder(SpecialFolderKind kind) = 0;
  // The folders the file layer never removes, nor any folder above them: the
  // home folder, the desktop's standard folders and the applications folder.
  virtual std::vector<std::string> KeptFolders() = 0;
  // The three system facts: "ramm" (MB of memory), "sys1", "sys2" (system version).
  virtual bool Gestalt(const std::string& selector, int64_t& value) = 0;
  virtual std::string ExecutablePath() = 0;
  // Opens a file or starts a program that no in-process opener claims.
  virtual void LaunchExternal(const std::string& path, bool activate) = 0;
  // Runs one of the setup's own command lines through the system's shell
  // (the one place a shell runs) and waits for it with the event loop
  // turning. Output is discarded. Answers the exit status, -1 when the
  // command could not be started or was not waited for to its end.
  virtual int RunShellCommand(const std::string& commandLine) = 0;
  virtual void ShowURL(const std::string& url) = 0;
  virtual std::string ClipboardText() = 0;
  virtual void SetClipboardText(const std::string& text) = 0;
  virtual void BringToFront() = 0;
  // Whether the folder lies on an optical disc (a CD's or a DVD's file system).
  virtual bool FolderIsOnDisc(const std::string& folder) = 0;
  // Ejects the disc that holds the folder and waits a bounded time for it;
  // the outcome is not reported.
  virtual void EjectDisc(const std::string& folder) = 0;
  // Takes the system's quarantine mark off the item at `path`, with an
  // administrator's password. The password reaches the command on its
  // standard input only: never in an argument, the environment, a file or a log.
  virtual void ClearQuarantine(const std::string& path, const std::string& password) = 0;
};

// Installs the backends; the caller keeps ownership. Null restores nothing.
void Install(Platform* platform, UI* ui);
Platform& CurrentPlatform();
UI& CurrentUI();

[[noreturn]] void Quit(int code = 0);
int64_t Ticks();
void DoEvents(int milliseconds = 0);
void MsgBox(const std::string& text);
void ShowURL(const std::string& url);
std::string GetClipboardText();
void SetClipboardText(const std::string& text);
FolderItem SpecialFolder(SpecialFolderKind kind);
bool Gestalt(const std::string& selector, int64_t& value);
FolderItem ExecutableFile();
void BringToFront();
void SetWaitCursor(bool waiting);
bool FolderIsOnDisc(const std::string& folder);
void EjectDisc(const std::string& folder);
void ClearQuarantine(const std::string& path, const std::string& password);

// Document openers that run inside the process, by file extension (".zip").
// A launch of such a file goes to its opener instead of the system.
using Opener = std::function<void(const std::string& path)>;
void RegisterOpener(const std::string& extension, Opener opener);
void Launch(const std::string& path, bool activate);
int RunShellCommand(const std::string& commandLine);
// Sets a variable of the environment that launched programs and shell lines
// inherit from the installer.
void SetProgramEnvironment(const std::string& name, const std::string& value);

// Runs one piece of logic as the top level does: a QuitRequest gives its code;
// any other exception is shown in one plain message box and gives 0.
// Returns the exit code when the logic asked to quit, nothing otherwise.
std::optional<int> RunGuarded(const std::function<void()>& body);

}  // namespace fw
