// The programs a setup runs before the installer shows itself and after the
// payload is in place, and the conversation with them over the clipboard:
// "OstrelWait" holds the installer, "OstrelDone:" and "OstrelAbort:" end the
// wait with an optional message, and any other text ends it as a success.
#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"

namespace {

// The program's time to start and put up "OstrelWait".
constexpr int64_t kStartTicks = 180;
// How often a held wait looks at the clipboard again.
constexpr int64_t kPollTicks = 60;
// A program that holds "OstrelWait" longer than an hour is no longer waited for.
constexpr int64_t kGiveUpTicks = 60 * 60 * 60;

// Lets the event loop run (and the clipboard be served) until more than
// `ticks` have passed.
void YieldFor(int64_t ticks) {
  const int64_t start = fw::Ticks();
  for (int64_t elapsed = 0; elapsed <= ticks; elapsed = fw::Ticks() - start)
    fw::DoEvents(static_cast<int>((ticks + 1 - elapsed) * 1000 / 60));
}

bool StartsWithIgnoreCase(const std::string& text, const std::string& prefix) {
  return text.size() >= prefix.size() && fw::EqualsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

size_t CharacterCount(const std::string& utf8) {
  size_t n = 0;
  for (unsigned char c : utf8)
    if ((c & 0xC0) != 0x80) ++n;
  return n;
}

}  // namespace

bool OstrelStubWindow::DoExecuteBefore() {
  if (fExecuteBeforeName.empty()) return true;
  fw::SetClipboardText("");
  Hide();
  bool goOn = true;
  if (SpecialPath(fExecuteBeforeName)) {
    if (ViewConst::FileExists(fExecuteBeforeName)) {
      fw::Launch(fExecuteBeforeName, true);
      goOn = CommunicateWithExecutable();
    }
  } else {
    // A plain name is a file in the bundle's Resources.
    const std::string executable = ViewConst::MyAbsolutePath(fw::ExecutableFile());
    const int contents = ViewConst::Pos("/Contents", executable);
    if (contents > 0) {
      const fw::FolderItem program =
          fw::FolderItem(executable.substr(0, contents - 1 + 9)).Child("Resources").Child(fExecuteBeforeName);
      // A missing program starts nothing, and the wait finds the clipboard as it was left.
      if (program.Exists()) fw::Launch(program.NativePath(), true);
      goOn = CommunicateWithExecutable();
    }
  }
  Show();
  return goOn;
}

bool OstrelStubWindow::CommunicateWithExecutable() {
  bool goOn = true;
  YieldFor(kStartTicks);
  std::string answer = fw::GetClipboardText();
  // An empty clipboard: the program does not talk, and runs on beside the installer.
  if (!answer.empty()) {
    const int64_t start = fw::Ticks();
    do {
      YieldFor(kPollTicks);
      answer = fw::GetClipboardText();
      fw::DoEvents(0);
    } while (fw::EqualsIgnoreCase(answer, "OstrelWait") && fw::Ticks() - start < kGiveUpTicks);

    const std::string abort = "OstrelAbort:", done = "OstrelDone:";
    if (StartsWithIgnoreCase(answer, abort)) {
      if (answer.size() > abort.size()) fw::MsgBox(answer.substr(abort.size()));
      goOn = false;
    }
    if (StartsWithIgnoreCase(answer, done) && CharacterCount(answer.substr(done.size())) >= 2)
      fw::MsgBox(answer.substr(done.size()));
  }
  if (goOn) {
    Show();
    MyProcessToTop();
  }
  return goOn;
}
