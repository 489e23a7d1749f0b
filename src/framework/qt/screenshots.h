// A debugging and testing aid: with OSTREL_SCREENSHOT_DIR set, every window
// that appears is saved as "<NN>-<title>.png" into that folder, numbered in
// the order of appearance.
#pragma once

class QWidget;

namespace fw::qt {

void SaveScreenshot(QWidget& window);

}  // namespace fw::qt
