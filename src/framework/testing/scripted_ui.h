// Test seam for the windowing backend. Each modal window is handed, in turn,
// to the next scripted answer, which sees the whole model (title, size,
// captions, geometry) and presses a control as a person would. A modal
// window that no answer expects, or that an answer leaves open, fails the test.
// A modal window with a running timer is not answered: its timers fire on a
// virtual clock until it hides itself, each virtual second passing in
// `timerPace` milliseconds of real time, so that a minute's wait on a real
// server costs about a second.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "framework/runtime.h"
#include "framework/window.h"

namespace fw::testing {

// What a window looked like when it was shown.
struct Seen {
  std::string title;
  int width = 0, height = 0;
  struct ControlState {
    std::string name, caption;
    Rect geometry;
    bool visible, enabled, isDefault, isCancel;
    std::string helpTag;
    int64_t value = 0;
  };
  std::vector<ControlState> controls;
  const ControlState* Find(const std::string& name) const;
  // The control of that name. A window without one throws, which fails the
  // test that asked rather than crashing every test after it.
  const ControlState& Get(const std::string& name) const;
};
Seen Snapshot(const Window& w);

class ScriptedUI : public UI {
 public:
  using Answer = std::function<void(Window&)>;

  void Show(Window& w) override;
  void Hide(Window& w) override;
  void ShowModal(Window& w) override;
  void Changed(Window&) override { ++changes; }
  void Destroyed(Window&) override {}
  void MsgBox(const std::string& text) override;
  std::optional<std::string> SelectFolder(const FolderDialog& d) override;

  // Answers that press one control by name, or by its caption.
  static Answer Press(const std::string& controlName);
  static Answer PressCaption(const std::string& caption);
  static Answer PressDefault();
  static Answer PressCancel();

  std::deque<Answer> answers;
  std::function<void(Window&)> onModal;  // told of each modal window as it is shown, answered or not
  std::vector<Seen> modals;          // every modal window, at the moment it was shown
  std::vector<std::string> messages;  // every MsgBox text
  std::deque<std::optional<std::string>> folderAnswers;  // answers for the folder chooser
  std::vector<FolderDialog> folderDialogs;
  int changes = 0;
  int timerPace = 20;        // real milliseconds for one virtual second of a timer
  int64_t timerClockMs = 0;  // virtual time that timers have run, over all windows
  int64_t timerFires = 0;

 private:
  void RunTimers(Window& w);
};

}  // namespace fw::testing
