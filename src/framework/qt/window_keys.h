// The keys a window answers by itself: Return and Enter press its default
// button, Escape its cancel button, and the shortcuts of its menu bar do
// what their items do. Return, Enter and Escape count only when they went
// down and came up again in this window: a key still held from the window
// before (the Return that accepted the folder chooser, say), or repeating,
// never presses a button of a window that just appeared.
#pragma once

#include <QObject>
#include <QWidget>
#include <functional>

#include "framework/window.h"

namespace fw::qt {

class WindowKeys : public QObject {
 public:
  // `model` answers the window's model, or null once it is gone.
  WindowKeys(QWidget* window, std::function<Window*()> model);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void AddMenuShortcuts(QWidget* window, const MenuBar& bar);
  std::function<Window*()> model_;
  int armed_ = 0;  // the key that went down here and is not up yet
};

}  // namespace fw::qt
