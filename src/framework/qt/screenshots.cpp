#include "framework/qt/screenshots.h"

#include <QDir>
#include <QPixmap>
#include <QWidget>
#include <cstdlib>

namespace fw::qt {

void SaveScreenshot(QWidget& window) {
  static int counter = 0;
  const char* dir = std::getenv("OSTREL_SCREENSHOT_DIR");
  if (!dir || !*dir) return;
  QDir folder(QString::fromLocal8Bit(dir));
  if (!folder.exists() && !folder.mkpath(".")) return;

  // The title goes into a file name: keep it to one harmless path element.
  QString title = window.windowTitle();
  for (QChar& ch : title)
    if (ch == '/' || ch == '\\' || ch.unicode() < 0x20) ch = '_';
  if (title.isEmpty()) title = "untitled";
  const QString name = QString("%1-%2.png").arg(++counter, 2, 10, QChar('0')).arg(title.left(80));
  window.grab().save(folder.filePath(name), "PNG");
}

}  // namespace fw::qt
