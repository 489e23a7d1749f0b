#include "framework/qt/qt_ui.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFontMetrics>
#include <QTimer>
#include <algorithm>

#include "framework/qt/event_guard.h"
#include "framework/qt/screenshots.h"
#include "framework/qt/window_widget.h"

namespace fw::qt {
namespace {

struct QtWindowState : Window::BackendState {
  WindowWidget* widget = nullptr;
};

WindowWidget* Existing(Window& w) {
  auto* state = dynamic_cast<QtWindowState*>(w.backend.get());
  return state ? state->widget : nullptr;
}

void Present(WindowWidget& widget) {
  widget.Sync();
  const bool appearing = !widget.isVisible();
  widget.show();
  widget.raise();
  widget.activateWindow();
  if (appearing) SaveScreenshot(widget);
}

}  // namespace

WindowWidget& QtUI::WidgetOf(Window& w) {
  if (WindowWidget* existing = Existing(w)) return *existing;
  auto state = std::make_unique<QtWindowState>();
  state->widget = new WindowWidget(w);
  WindowWidget& widget = *state->widget;
  w.backend = std::move(state);
  return widget;
}

void QtUI::Show(Window& w) { Present(WidgetOf(w)); }

void QtUI::Hide(Window& w) {
  WindowWidget* widget = Existing(w);
  if (!widget) return;
  widget->hide();
  if (widget->modalLoop) widget->modalLoop->exit();
}

void QtUI::ShowModal(Window& w) {
  WindowWidget& widget = WidgetOf(w);
  // A window of no size is a wait that nobody sees (the HTTP wait): its
  // timers run in the loop, nothing comes on screen, and the other windows
  // stay as alive as during any other wait of the installer.
  const bool unseen = w.Width() <= 0 || w.Height() <= 0;
  if (unseen) widget.Sync();
  else widget.setWindowModality(Qt::ApplicationModal);
  QEventLoop loop;
  widget.modalLoop = &loop;
  const std::function<void()> interrupt = [&loop] { loop.exit(); };
  auto done = [&] {
    widget.modalLoop = nullptr;
    widget.hide();
    widget.setWindowModality(Qt::NonModal);
  };
  try {
    RunWait(interrupt, [&] {
      if (!unseen) Present(widget);
      // A handler may have hidden it already while it appeared.
      if (w.Visible() && !Ending()) loop.exec(QEventLoop::DialogExec);
    });
  } catch (...) {
    done();
    throw;
  }
  done();
}

void QtUI::Changed(Window& w) {
  if (WindowWidget* widget = Existing(w)) widget->Sync();
}

void QtUI::Destroyed(Window& w) {
  if (WindowWidget* widget = Existing(w)) widget->Detach();
  w.backend.reset();
}

void QtUI::SetWaitCursor(bool waiting) {
  // One override at a time, so that a second "waiting" needs no second reset.
  if (waiting == (QApplication::overrideCursor() != nullptr)) return;
  if (waiting)
    QApplication::setOverrideCursor(Qt::WaitCursor);
  else
    QApplication::restoreOverrideCursor();
}

void QtUI::MsgBox(const std::string& text) {
  // A window model of our own, so that it looks and is driven like every other.
  const QFontMetrics metrics(QApplication::font());
  const QRect bounds = metrics.boundingRect(QRect(0, 0, 440, 10000), Qt::TextWordWrap,
                                            ToQString(text.empty() ? " " : text, kShortTextChars));
  const int textWidth = std::clamp(bounds.width() + 8, 240, 440);
  const int textHeight = std::max(bounds.height() + 4, 20);
  const int width = textWidth + 40, height = 14 + textHeight + 16 + 20 + 16;

  Window box("Install", width, height);
  Control& label = box.Add(ControlKind::Label, "MessageText", {20, 14, textWidth, textHeight});
  label.SetMultiline(true);
  label.SetText(text);
  Control& ok = box.Add(ControlKind::PushButton, "OKBtn", {width - 100, height - 36, 80, 20});
  ok.SetCaption("OK");
  ok.SetDefault(true);
  ok.SetCancel(true);
  ok.Action = [&box] { box.Hide(); };
  box.ShowModal();
}

std::optional<std::string> QtUI::SelectFolder(const FolderDialog& d) {
  QFileDialog dialog(nullptr, ToQString(d.title, kTitleChars), ToQString(d.initialDirectory));
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::ShowDirsOnly);
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setLabelText(QFileDialog::Accept, ToQString(d.actionCaption, kShortTextChars));
  dialog.setLabelText(QFileDialog::Reject, ToQString(d.cancelCaption, kShortTextChars));
  dialog.setWindowModality(Qt::ApplicationModal);
  if (!d.initialDirectory.empty()) dialog.setDirectory(ToQString(d.initialDirectory));

  // Its list fills in after it appears; take the picture a moment later.
  QTimer::singleShot(400, &dialog, [&dialog] {
    if (dialog.isVisible()) SaveScreenshot(dialog);
  });
  int result = QDialog::Rejected;
  RunWait([&dialog] { dialog.reject(); }, [&] { result = dialog.exec(); });
  if (result != QDialog::Accepted) return std::nullopt;
  const QStringList chosen = dialog.selectedFiles();
  if (chosen.isEmpty()) return std::nullopt;
  return FromQString(QDir(chosen.first()).absolutePath());
}

int QtUI::Exec() {
  if (Ending()) return 0;
  return QApplication::exec();
}

}  // namespace fw::qt
