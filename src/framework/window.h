// Windows and controls as plain models. A backend (Qt for real, a scripted
// answerer under test) renders them; the installer logic only ever touches
// these objects, so it reads the same whether a display exists or not.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "framework/menu.h"
#include "framework/picture.h"

namespace fw {

enum class ControlKind {
  PushButton,
  Label,
  TextField,
  TextArea,
  Canvas,
  ProgressBar,
  RadioButton,
  CheckBox,
  HTMLViewer,
  Timer,  // no face of its own: fires its action every period while its mode is not off
};

// How a timer runs: off, once (then off again), or every period.
enum TimerMode { kTimerOff = 0, kTimerSingle = 1, kTimerMultiple = 2 };

struct Rect {
  int left = 0, top = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
};

// Which window edges a control keeps its distance to when the window is resized.
struct Anchors {
  bool left = true, top = true, right = false, bottom = false;
};

class Window;

class Control {
 public:
  Control(Window* owner, ControlKind kind, std::string name, Rect geometry);

  ControlKind kind() const { return kind_; }
  const std::string& name() const { return name_; }
  Window* window() const { return owner_; }

  const Rect& geometry() const { return geom_; }
  void SetGeometry(Rect r);
  int Left() const { return geom_.left; }
  int Top() const { return geom_.top; }
  int Width() const { return geom_.width; }
  int Height() const { return geom_.height; }
  void SetLeft(int v) { SetGeometry({v, geom_.top, geom_.width, geom_.height}); }
  void SetTop(int v) { SetGeometry({geom_.left, v, geom_.width, geom_.height}); }
  void SetWidth(int v) { SetGeometry({geom_.left, geom_.top, v, geom_.height}); }
  void SetHeight(int v) { SetGeometry({geom_.left, geom_.top, geom_.width, v}); }

  // Caption of a button or check box, text of a label, field or area, HTML of a viewer.
  const std::string& Caption() const { return caption_; }
  void SetCaption(std::string text);
  const std::string& Text() const { return caption_; }
  void SetText(std::string text) { SetCaption(std::move(text)); }

  bool Visible() const { return visible_; }
  void SetVisible(bool v);
  bool Enabled() const { return enabled_; }
  void SetEnabled(bool v);
  bool Default() const { return default_; }
  void SetDefault(bool v);
  bool Cancel() const { return cancel_; }
  void SetCancel(bool v);

  // Progress bar value and maximum; check box / radio button state (0 or 1).
  int64_t Value() const { return value_; }
  void SetValue(int64_t v);
  int64_t Maximum() const { return maximum_; }
  void SetMaximum(int64_t v);

  // Timer: the period in milliseconds and the mode (TimerMode).
  int Period() const { return period_; }
  void SetPeriod(int milliseconds);
  int Mode() const { return mode_; }
  void SetMode(int mode);
  // What the backend calls when a timer's period has passed: nothing when
  // its mode is off; a single timer turns itself off before the action runs.
  void FireTimer();

  const std::string& HelpTag() const { return helpTag_; }
  void SetHelpTag(std::string t);
  const Anchors& anchors() const { return anchors_; }
  void SetAnchors(Anchors a) { anchors_ = a; }

  // Text presentation.
  bool Multiline() const { return multiline_; }
  void SetMultiline(bool v);
  bool Centered() const { return centered_; }
  void SetCentered(bool v);
  bool Underline() const { return underline_; }
  void SetUnderline(bool v);
  bool ReadOnly() const { return readOnly_; }
  void SetReadOnly(bool v);
  int TextSize() const { return textSize_; }  // points; 0 is the system's size
  void SetTextSize(int pt);
  uint32_t TextColor() const { return textColor_; }  // 0xRRGGBB
  void SetTextColor(uint32_t rgb);

  // Canvas backdrop; empty picture means none.
  const std::shared_ptr<const Picture>& Backdrop() const { return backdrop_; }
  void SetBackdrop(std::shared_ptr<const Picture> p);

  // HTML viewer: the page and the folder it is loaded against.
  void LoadPage(std::string html, std::string baseFolder);
  const std::string& BaseFolder() const { return baseFolder_; }

  // Handlers. A push button's action; a label's mouse down (answer: handled).
  std::function<void()> Action;
  std::function<bool(int x, int y)> MouseDown;

  // Presses the control as a person would: only a visible, enabled control reacts.
  void Press();
  void Refresh();

 private:
  void Changed();

  Window* owner_;
  ControlKind kind_;
  std::string name_;
  Rect geom_;
  std::string caption_;
  bool visible_ = true, enabled_ = true, default_ = false, cancel_ = false;
  int64_t value_ = 0, maximum_ = 100;
  int period_ = 1000, mode_ = kTimerOff;
  std::string helpTag_;
  Anchors anchors_;
  bool multiline_ = false, centered_ = false, underline_ = false, readOnly_ = false;
  int textSize_ = 0;
  uint32_t textColor_ = 0x000000;
  std::shared_ptr<const Picture> backdrop_;
  std::string baseFolder_;
};

struct FrameFlags {
  bool modal = true;          // a movable modal frame
  bool resizable = false;
  bool closeButton = false;
  bool minimizeButton = false;
  bool maximizeButton = false;
  bool fullScreenButton = false;
  bool menuBarVisible = false;
};

class Window {
 public:
  Window(std::string title, int width, int height);
  virtual ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  const std::string& Title() const { return title_; }
  void SetTitle(std::string t);
  int Width() const { return width_; }
  int Height() const { return height_; }
  // Resizing carries the controls along by their anchors.
  void SetSize(int width, int height);
  void SetWidth(int w) { SetSize(w, height_); }
  void SetHeight(int h) { SetSize(width_, h); }
  int MinWidth() const { return minWidth_; }
  int MinHeight() const { return minHeight_; }
  void SetMinimumSize(int w, int h) { minWidth_ = w; minHeight_ = h; }

  FrameFlags frame;
  uint32_t backgroundColor = 0xFFFFFF;
  // The window's menu bar, owned by the window's class; none when null.
  const MenuBar* menuBar = nullptr;
  const std::shared_ptr<const Picture>& Backdrop() const { return backdrop_; }
  void SetBackdrop(std::shared_ptr<const Picture> p);

  Control& Add(ControlKind kind, const std::string& name, Rect geometry);
  Control* Find(const std::string& name) const;
  Control& Get(const std::string& name) const;  // throws when absent
  const std::vector<std::unique_ptr<Control>>& Controls() const { return controls_; }

  bool Visible() const { return visible_; }
  void Show();
  void Hide();
  // Shows the window and returns when it hides itself.
  void ShowModal();
  void Refresh();
  void SetFocus();

  // Presses the visible, enabled default button (Return) or cancel button (Escape).
  bool PressDefault();
  bool PressCancel();

  // The backend keeps its own state for a window here (for Qt, the widget).
  struct BackendState {
    virtual ~BackendState() = default;
  };
  std::unique_ptr<BackendState> backend;

  void NotifyChanged();

 private:
  bool PressFirst(bool (Control::*flag)() const);
  std::string title_;
  int width_, height_;
  int minWidth_ = 0, minHeight_ = 0;
  bool visible_ = false;
  std::vector<std::unique_ptr<Control>> controls_;
  std::shared_ptr<const Picture> backdrop_;
};

}  // namespace fw
