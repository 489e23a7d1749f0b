// The Linux platform with Qt's event loop and clipboard: DoEvents runs window
// events, the clipboard is the desktop's, and BringToFront raises our windows.
#pragma once

#include "framework/posix/posix_platform.h"

namespace fw::qt {

class QtPlatform : public PosixPlatform {
 public:
  QtPlatform();
  std::string ClipboardText() override;
  void SetClipboardText(const std::string& text) override;
  void BringToFront() override;
};

}  // namespace fw::qt
