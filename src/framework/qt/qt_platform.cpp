#include "framework/qt/qt_platform.h"

#include <QApplication>
#include <QClipboard>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <algorithm>

#include "framework/qt/event_guard.h"
#include "framework/qt/window_widget.h"

namespace fw::qt {
namespace {

bool OnGuiThread() {
  return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

}  // namespace

QtPlatform::QtPlatform() {
  eventPump = [](int milliseconds) {
    if (!OnGuiThread()) {
      QThread::msleep(static_cast<unsigned long>(std::max(milliseconds, 1)));
      return;
    }
    if (milliseconds <= 0) {
      RunWait({}, [] { QCoreApplication::processEvents(QEventLoop::AllEvents); });
      return;
    }
    // A loop of its own for the whole time, so that the window stays alive
    // while the logic waits, and a Quit pressed meanwhile ends the wait at once.
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    RunWait([&loop] { loop.exit(); }, [&loop] { loop.exec(); });
  };
}

// The desktop's clipboard is the channel to launched programs. Qt allows it
// on the GUI thread only; elsewhere the in-process text stands in.
std::string QtPlatform::ClipboardText() {
  if (!OnGuiThread()) return PosixPlatform::ClipboardText();
  return FromQString(QGuiApplication::clipboard()->text());
}

void QtPlatform::SetClipboardText(const std::string& text) {
  PosixPlatform::SetClipboardText(text);
  if (OnGuiThread()) QGuiApplication::clipboard()->setText(ToQString(text));
}

void QtPlatform::BringToFront() {
  for (QWidget* w : QApplication::topLevelWidgets()) {
    if (!w->isVisible()) continue;
    w->raise();
    w->activateWindow();
  }
}

}  // namespace fw::qt
