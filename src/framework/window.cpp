#include "framework/window.h"

#include <stdexcept>

#include "framework/runtime.h"

namespace fw {

Control::Control(Window* owner, ControlKind kind, std::string name, Rect geometry)
    : owner_(owner), kind_(kind), name_(std::move(name)), geom_(geometry) {}

void Control::Changed() {
  if (owner_) owner_->NotifyChanged();
}

void Control::SetGeometry(Rect r) {
  if (r == geom_) return;
  geom_ = r;
  Changed();
}

#define FW_SETTER(Name, field)  \
  void Control::Name(decltype(field) v) { \
    if (field == v) return;               \
    field = std::move(v);                 \
    Changed();                            \
  }
FW_SETTER(SetCaption, caption_)
FW_SETTER(SetVisible, visible_)
FW_SETTER(SetEnabled, enabled_)
FW_SETTER(SetDefault, default_)
FW_SETTER(SetCancel, cancel_)
FW_SETTER(SetValue, value_)
FW_SETTER(SetMaximum, maximum_)
FW_SETTER(SetHelpTag, helpTag_)
FW_SETTER(SetPeriod, period_)
FW_SETTER(SetMode, mode_)
FW_SETTER(SetMultiline, multiline_)
FW_SETTER(SetCentered, centered_)
FW_SETTER(SetUnderline, underline_)
FW_SETTER(SetReadOnly, readOnly_)
FW_SETTER(SetTextSize, textSize_)
FW_SETTER(SetTextColor, textColor_)
FW_SETTER(SetBackdrop, backdrop_)
#undef FW_SETTER

void Control::LoadPage(std::string html, std::string baseFolder) {
  baseFolder_ = std::move(baseFolder);
  caption_ = std::move(html);
  Changed();
}

void Control::Press() {
  if (!visible_ || !enabled_) return;
  if (kind_ == ControlKind::CheckBox) SetValue(value_ ? 0 : 1);
  if (kind_ == ControlKind::RadioButton && owner_) {
    for (auto& c : owner_->Controls())
      if (c->kind() == ControlKind::RadioButton) c->SetValue(c.get() == this ? 1 : 0);
  }
  if (Action) Action();
}

void Control::FireTimer() {
  if (kind_ != ControlKind::Timer || mode_ == kTimerOff) return;
  if (mode_ == kTimerSingle) SetMode(kTimerOff);
  if (Action) Action();
}

void Control::Refresh() { Changed(); }

Window::Window(std::string title, int width, int height)
    : title_(std::move(title)), width_(width), height_(height) {}

Window::~Window() {
  // A window that was never shown has no backend state to release.
  if (backend) CurrentUI().Destroyed(*this);
}

void Window::NotifyChanged() {
  if (backend && visible_) CurrentUI().Changed(*this);
}

void Window::SetTitle(std::string t) {
  if (t == title_) return;
  title_ = std::move(t);
  NotifyChanged();
}

void Window::SetSize(int width, int height) {
  const int dw = width - width_, dh = height - height_;
  if (dw == 0 && dh == 0) return;
  width_ = width;
  height_ = height;
  for (auto& c : controls_) {
    Rect r = c->geometry();
    const Anchors& a = c->anchors();
    if (a.right && a.left) r.width += dw;
    else if (a.right) r.left += dw;
    if (a.bottom && a.top) r.height += dh;
    else if (a.bottom) r.top += dh;
    c->SetGeometry(r);
  }
  NotifyChanged();
}

void Window::SetBackdrop(std::shared_ptr<const Picture> p) {
  backdrop_ = std::move(p);
  NotifyChanged();
}

Control& Window::Add(ControlKind kind, const std::string& name, Rect geometry) {
  controls_.push_back(std::make_unique<Control>(this, kind, name, geometry));
  return *controls_.back();
}

Control* Window::Find(const std::string& name) const {
  for (auto& c : controls_)
    if (c->name() == name) return c.get();
  return nullptr;
}

Control& Window::Get(const std::string& name) const {
  Control* c = Find(name);
  if (!c) throw NilObjectException("window \"" + title_ + "\" has no control " + name);
  return *c;
}

void Window::Show() {
  visible_ = true;
  CurrentUI().Show(*this);
}

void Window::Hide() {
  if (!visible_) return;
  visible_ = false;
  CurrentUI().Hide(*this);
}

void Window::ShowModal() {
  visible_ = true;
  CurrentUI().ShowModal(*this);
  visible_ = false;
}

void Window::Refresh() { NotifyChanged(); }

void Window::SetFocus() { NotifyChanged(); }

bool Window::PressFirst(bool (Control::*flag)() const) {
  for (auto& c : controls_)
    if ((c.get()->*flag)() && c->Visible() && c->Enabled()) {
      c->Press();
      return true;
    }
  return false;
}

bool Window::PressDefault() { return PressFirst(&Control::Default); }

bool Window::PressCancel() { return PressFirst(&Control::Cancel); }

}  // namespace fw
