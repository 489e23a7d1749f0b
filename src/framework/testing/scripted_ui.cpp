#include "framework/testing/scripted_ui.h"

#include <stdexcept>

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
                          c->Default(), c->Cancel()});
  return s;
}

void ScriptedUI::Show(Window&) {}
void ScriptedUI::Hide(Window&) {}

void ScriptedUI::ShowModal(Window& w) {
  modals.push_back(Snapshot(w));
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
