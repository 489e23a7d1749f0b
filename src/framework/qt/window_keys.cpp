#include "framework/qt/window_keys.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

#include "framework/qt/event_guard.h"
#include "framework/runtime.h"

namespace fw::qt {
namespace {

bool IsAnswerKey(int key) { return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape; }

// The standard edit roles on the text that has the focus.
void Edit(MenuRole role) {
  QWidget* focus = QApplication::focusWidget();
  if (!focus) return;
  auto* line = qobject_cast<QLineEdit*>(focus);
  auto* plain = qobject_cast<QPlainTextEdit*>(focus);
  auto* rich = qobject_cast<QTextEdit*>(focus);
  if (!line && !plain && !rich) return;
  switch (role) {
    case MenuRole::Clear:
      if (line) line->del();
      else if (plain && !plain->isReadOnly()) plain->textCursor().removeSelectedText();
      else if (rich && !rich->isReadOnly()) rich->textCursor().removeSelectedText();
      return;
    case MenuRole::Undo: return void(QMetaObject::invokeMethod(focus, "undo"));
    case MenuRole::Cut: return void(QMetaObject::invokeMethod(focus, "cut"));
    case MenuRole::Copy: return void(QMetaObject::invokeMethod(focus, "copy"));
    case MenuRole::Paste: return void(QMetaObject::invokeMethod(focus, "paste"));
    case MenuRole::SelectAll: return void(QMetaObject::invokeMethod(focus, "selectAll"));
    default: return;
  }
}

}  // namespace

WindowKeys::WindowKeys(QWidget* window, std::function<Window*()> model) : QObject(window), model_(std::move(model)) {
  window->installEventFilter(this);
  for (QWidget* child : window->findChildren<QWidget*>()) child->installEventFilter(this);
  if (Window* m = model_(); m && m->menuBar) AddMenuShortcuts(window, *m->menuBar);
}

void WindowKeys::AddMenuShortcuts(QWidget* window, const MenuBar& bar) {
  for (const Menu& menu : bar.menus) {
    for (const MenuItem& item : menu.items) {
      if (item.shortcut.empty()) continue;
      auto* action = new QAction(window);
      action->setShortcut(QKeySequence(QString::fromStdString(item.shortcut)));
      action->setShortcutContext(Qt::WindowShortcut);
      window->addAction(action);
      const std::string name = item.name;
      connect(action, &QAction::triggered, this, [this, name] {
        Dispatch([this, name] {
          Window* m = model_();
          const MenuItem* item = m && m->menuBar ? m->menuBar->Find(name) : nullptr;
          if (!item) return;
          if (item->role == MenuRole::Quit) fw::Quit(0);
          if (item->role != MenuRole::None) return Edit(item->role);
          if (item->Action) item->Action();
        });
      });
    }
  }
}

bool WindowKeys::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
      auto* key = static_cast<QKeyEvent*>(event);
      if (!IsAnswerKey(key->key()) || key->modifiers() & ~(Qt::KeypadModifier)) return false;
      if (key->isAutoRepeat()) return true;
      if (event->type() == QEvent::KeyPress) {
        armed_ = key->key();
        return true;
      }
      if (armed_ != key->key()) return true;  // it went down elsewhere
      armed_ = 0;
      const bool cancel = key->key() == Qt::Key_Escape;
      Dispatch([this, cancel] {
        if (Window* m = model_()) cancel ? m->PressCancel() : m->PressDefault();
      });
      return true;
    }
    case QEvent::WindowDeactivate:
    case QEvent::Hide:
      if (watched == parent()) armed_ = 0;
      return false;
    default:
      return false;
  }
}

}  // namespace fw::qt
