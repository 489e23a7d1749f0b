// The windowing backend on Qt 6 Widgets: renders window models as real
// windows, runs modal showings in nested event loops, and offers the plain
// message box and the folder chooser.
#pragma once

#include <optional>
#include <string>

#include "framework/runtime.h"
#include "framework/window.h"

namespace fw::qt {

class WindowWidget;

class QtUI : public UI {
 public:
  void Show(Window& w) override;
  void Hide(Window& w) override;
  // Application-modal; returns when the model hides itself. A QuitRequest (or
  // any exception) thrown by a handler during the showing is rethrown here.
  void ShowModal(Window& w) override;
  void Changed(Window& w) override;
  void Destroyed(Window& w) override;
  void MsgBox(const std::string& text) override;
  std::optional<std::string> SelectFolder(const FolderDialog& d) override;
  void SetWaitCursor(bool waiting) override;

  // Runs the application's event loop until the top level ends it; its exit code.
  int Exec();

  // The widget that shows a window, made on first use.
  static WindowWidget& WidgetOf(Window& w);
};

}  // namespace fw::qt
