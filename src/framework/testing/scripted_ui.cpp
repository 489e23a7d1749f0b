#include "framework/testing/scripted_ui.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <stdexcept>
#include <thread>

namespace fw::testing {

const Seen::ControlState* Seen::Find(const std::string& name) const {
  for (auto& c : controls)
    if (c.name == name) return &c;
  return nullptr;
}

const Seen::ControlState& Seen::Get(const std::string& name) const {
  if (const ControlState* c = Find(name)) return *c;
  throw std::logic_error("the window \"" + title + "\" has no control " + name);
}

Seen Snapshot(const Window& w) {
  Seen s{w.Title(), w.Width(), w.Height(), {}};
  for (auto& c : w.Controls())
    s.controls.push_back({c->name(), c->Caption(), c->geometry(), c->Visible(), c->Enabled(),
                          c->Default(), c->Cancel(), c->HelpTag(), c->Value()});
  return s;
}

void ScriptedUI::Show(Window&) {}
void ScriptedUI::Hide(Window&) {}

namespace {

bool HasRunningTimer(const Window& w) {
  for (auto& c : w.Controls())
    if (c->kind() == ControlKind::Timer && c->Mode() != kTimerOff) return true;
  return false;
}

// A timer-driven window that has not ended after this long never will.
constexpr int64_t kTimerLimitMs = 24LL * 3600 * 1000;

}  // namespace

void ScriptedUI::RunTimers(Window& w) {
  std::map<Control*, int64_t> due;  // virtual milliseconds
  // The virtual clock is the real one sped up: each firing waits for its
  // real moment, so that sleeping too long once does not slow the clock.
  const int64_t started = timerClockMs;
  const auto realStart = std::chrono::steady_clock::now();
  while (w.Visible()) {
    Control* next = nullptr;
    for (auto& c : w.Controls()) {
      if (c->kind() != ControlKind::Timer) continue;
      if (c->Mode() == kTimerOff) {
        due.erase(c.get());
        continue;
      }
      auto [it, fresh] = due.emplace(c.get(), timerClockMs + std::max(c->Period(), 1));
      if (!next || it->second < due[next]) next = c.get();
    }
    if (!next) throw std::logic_error("\"" + w.Title() + "\" waits on no running timer");
    const int64_t at = due[next];
    if (at - started > kTimerLimitMs) throw std::logic_error("\"" + w.Title() + "\" ran its timers for a day");
    std::this_thread::sleep_until(realStart + std::chrono::microseconds((at - started) * timerPace));
    timerClockMs = at;
    due[next] = at + std::max(next->Period(), 1);
    ++timerFires;
    next->FireTimer();
  }
}

void ScriptedUI::ShowModal(Window& w) {
  modals.push_back(Snapshot(w));
  if (onModal) onModal(w);
  if (HasRunningTimer(w)) {
    RunTimers(w);
    return;
  }
  if (answers.empty()) throw std::logic_error("no scripted answer for the window \"" + w.Title() + "\"");
  Answer a = std::move(answers.front());
  answers.pop_front();
  a(w);
  if (w.Visible()) throw std::logic_error("the scripted answer left \"" + w.Title() + "\" open");
}

void ScriptedUI::MsgBox(const std::string& text) { messages.push_back(text); }

std::optional<std::string> ScriptedUI::SelectFolder(const FolderDialog& d) {
  folderDialogs.push_back(d);
  if (folderAnswers.empty()) throw std::logic_error("no scripted answer for the folder chooser");
  auto a = folderAnswers.front();
  folderAnswers.pop_front();
  return a;
}

ScriptedUI::Answer ScriptedUI::Press(const std::string& controlName) {
  return [controlName](Window& w) { w.Get(controlName).Press(); };
}

ScriptedUI::Answer ScriptedUI::PressCaption(const std::string& caption) {
  return [caption](Window& w) {
    for (auto& c : w.Controls())
      if (c->kind() == ControlKind::PushButton && c->Caption() == caption && c->Visible()) {
        c->Press();
        return;
      }
    throw std::logic_error("no visible button \"" + caption + "\" in \"" + w.Title() + "\"");
  };
}

ScriptedUI::Answer ScriptedUI::PressDefault() {
  return [](Window& w) {
    if (!w.PressDefault()) throw std::logic_error("no default button in \"" + w.Title() + "\"");
  };
}

ScriptedUI::Answer ScriptedUI::PressCancel() {
  return [](Window& w) {
    if (!w.PressCancel()) throw std::logic_error("no cancel button in \"" + w.Title() + "\"");
  };
}

}  // namespace fw::testing
