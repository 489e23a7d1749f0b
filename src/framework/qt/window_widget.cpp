#include "framework/qt/window_widget.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <algorithm>
#include <climits>

#include "framework/qt/event_guard.h"
#include "framework/qt/window_keys.h"
#include "framework/runtime.h"

namespace fw::qt {

QString ToQString(const std::string& utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

std::string FromQString(const QString& s) { return s.toUtf8().toStdString(); }

QString ToQString(const std::string& utf8, size_t maxChars) {
  // A character takes four bytes at most: this many hold the first maxChars whole.
  const size_t take = std::min(utf8.size(), maxChars * 4);
  QString q = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(take));
  if (static_cast<size_t>(q.size()) <= maxChars && take == utf8.size()) return q;
  q.truncate(static_cast<qsizetype>(maxChars - 3));
  return q + "...";
}

namespace {

QColor ToColor(uint32_t rgb) { return QColor::fromRgb(static_cast<QRgb>(0xFF000000u | rgb)); }

// Links leave the installer only for the schemes a browser or mail program takes.
bool OpensOutside(const QUrl& url) {
  const QString scheme = url.scheme().toLower();
  return scheme == "http" || scheme == "https" || scheme == "mailto";
}

}  // namespace

WindowWidget::WindowWidget(Window& model) : QWidget(nullptr), model_(&model) {
  for (auto& c : model.Controls()) items_.push_back({c.get(), MakeWidget(*c), std::string(), false});

  // Return presses the default button and Escape the cancel button, wherever
  // the focus is; the menu bar's shortcuts work too.
  new WindowKeys(this, [this] { return model_; });
  Sync();
}

WindowWidget::~WindowWidget() = default;

QWidget* WindowWidget::MakeWidget(Control& c) {
  Control* control = &c;
  // Handlers look the model up again when they fire: it may be gone by then.
  auto alive = [this] { return model_ != nullptr; };
  switch (c.kind()) {
    case ControlKind::PushButton: {
      auto* b = new QPushButton(this);
      b->setAutoDefault(false);
      connect(b, &QPushButton::clicked, this, [control, alive] {
        Dispatch([control, alive] {
          if (alive()) control->Press();
        });
      });
      return b;
    }
    case ControlKind::Label: {
      auto* l = new ClickLabel(this);
      l->setTextFormat(Qt::PlainText);
      l->onMouseDown = [control, alive](int x, int y) {
        Dispatch([control, alive, x, y] {
          if (alive() && control->MouseDown) control->MouseDown(x, y);
        });
      };
      return l;
    }
    case ControlKind::TextField: {
      auto* e = new QLineEdit(this);
      connect(e, &QLineEdit::textEdited, this, [this, control](const QString& text) {
        if (model_ && !syncing_) control->SetText(FromQString(text));
      });
      return e;
    }
    case ControlKind::TextArea: {
      auto* e = new QPlainTextEdit(this);
      connect(e, &QPlainTextEdit::textChanged, this, [this, control, e] {
        if (model_ && !syncing_ && !e->isReadOnly()) control->SetText(FromQString(e->toPlainText()));
      });
      return e;
    }
    case ControlKind::Canvas: {
      auto* canvas = new CanvasWidget(this);
      canvas->onMouseDown = [control, alive](int x, int y) {
        Dispatch([control, alive, x, y] {
          if (alive() && control->MouseDown) control->MouseDown(x, y);
        });
      };
      return canvas;
    }
    case ControlKind::ProgressBar: {
      auto* bar = new QProgressBar(this);
      bar->setTextVisible(false);
      return bar;
    }
    case ControlKind::RadioButton:
    case ControlKind::CheckBox: {
      QAbstractButton* b = c.kind() == ControlKind::CheckBox ? static_cast<QAbstractButton*>(new QCheckBox(this))
                                                             : new QRadioButton(this);
      // The model decides which boxes are ticked; the widget only reports the
      // click. Radio buttons stay exclusive: the one that is on stays on when
      // clicked again, and they are told as radio buttons, not check boxes.
      b->setAutoExclusive(c.kind() == ControlKind::RadioButton);
      connect(b, &QAbstractButton::clicked, this, [control, alive] {
        Dispatch([control, alive] {
          if (alive()) control->Press();
        });
      });
      return b;
    }
    case ControlKind::Timer: {
      auto* t = new TimerWidget(this);
      connect(&t->timer, &QTimer::timeout, this, [control, alive] {
        Dispatch([control, alive] {
          if (alive()) control->FireTimer();
        });
      });
      return t;
    }
    case ControlKind::HTMLViewer: {
      auto* view = new HtmlView(this);
      view->onLink = [alive](const QUrl& url) {
        if (!OpensOutside(url)) return;
        const std::string target = FromQString(url.toString());
        Dispatch([alive, target] {
          if (alive()) fw::ShowURL(target);
        });
      };
      return view;
    }
  }
  return new QWidget(this);
}

void WindowWidget::Sync() {
  if (!model_ || syncing_) return;
  syncing_ = true;
  SyncFrame();
  for (Item& item : items_) SyncControl(item);
  syncing_ = false;
  update();
}

void WindowWidget::SyncFrame() {
  const Window& m = *model_;
  const FrameFlags& f = m.frame;
  Qt::WindowFlags flags = Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint;
  if (f.closeButton) flags |= Qt::WindowCloseButtonHint;
  if (f.minimizeButton) flags |= Qt::WindowMinimizeButtonHint;
  if (f.maximizeButton || f.fullScreenButton) flags |= Qt::WindowMaximizeButtonHint;
  if (windowFlags() != flags) {
    const bool wasVisible = isVisible();
    setWindowFlags(flags);  // hides the window
    if (wasVisible) show();
  }
  const QString title = ToQString(m.Title(), kTitleChars);
  if (windowTitle() != title) setWindowTitle(title);

  const int w = std::max(m.Width(), 1), h = std::max(m.Height(), 1);
  if (f.resizable) {
    // A caller may make a window smaller than its design minimum; the
    // minimum then gives way rather than the caller's size.
    setMinimumSize(std::min(m.MinWidth(), w), std::min(m.MinHeight(), h));
    setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    if (size() != QSize(w, h)) resize(w, h);
  } else if (minimumSize() != QSize(w, h) || maximumSize() != QSize(w, h)) {
    setFixedSize(w, h);
  }
}

void WindowWidget::SyncControl(Item& item) {
  const Control& c = *item.control;
  QWidget* w = item.widget;
  const Rect& r = c.geometry();
  w->setGeometry(r.left, r.top, std::max(r.width, 0), std::max(r.height, 0));
  w->setEnabled(c.Enabled());

  QFont font = QApplication::font(w);
  // The designs measure text as their controls, in the original system's
  // points, which are pixels there; Qt's points are a third larger and would
  // not fit the rectangles drawn for them.
  if (c.TextSize() > 0) font.setPixelSize(c.TextSize());
  font.setUnderline(c.Underline());
  if (w->font() != font) w->setFont(font);

  QPalette palette = w->palette();
  palette.setColor(QPalette::WindowText, ToColor(c.TextColor()));
  if (c.kind() == ControlKind::Label && w->palette() != palette) w->setPalette(palette);

  switch (c.kind()) {
    case ControlKind::PushButton: {
      auto* b = static_cast<QPushButton*>(w);
      b->setDefault(c.Default());
      SyncText(item);
      break;
    }
    case ControlKind::Label: {
      auto* l = static_cast<ClickLabel*>(w);
      l->setWordWrap(c.Multiline());
      const Qt::Alignment h = c.Centered() ? Qt::AlignHCenter : Qt::AlignLeft;
      l->setAlignment(h | (c.Multiline() ? Qt::AlignTop : Qt::AlignVCenter));
      if (c.MouseDown)
        l->setCursor(Qt::PointingHandCursor);
      else
        l->unsetCursor();
      SyncText(item);
      break;
    }
    case ControlKind::TextField:
      static_cast<QLineEdit*>(w)->setReadOnly(c.ReadOnly());
      SyncText(item);
      break;
    case ControlKind::TextArea:
      static_cast<QPlainTextEdit*>(w)->setReadOnly(c.ReadOnly());
      SyncText(item);
      break;
    case ControlKind::Canvas:
      static_cast<CanvasWidget*>(w)->SetPicture(c.Backdrop());
      if (c.MouseDown) w->setCursor(Qt::PointingHandCursor);
      break;
    case ControlKind::ProgressBar: {
      auto* bar = static_cast<QProgressBar*>(w);
      // Byte counts outgrow a QProgressBar's int: scale to a million steps then.
      int64_t max = std::max<int64_t>(c.Maximum(), 0), value = std::clamp<int64_t>(c.Value(), 0, max);
      if (max > INT_MAX) {
        value = static_cast<int64_t>(static_cast<long double>(value) / max * 1000000);
        max = 1000000;
      }
      bar->setRange(0, static_cast<int>(max));
      bar->setValue(static_cast<int>(value));
      break;
    }
    case ControlKind::RadioButton:
    case ControlKind::CheckBox:
      static_cast<QAbstractButton*>(w)->setChecked(c.Value() != 0);
      SyncText(item);
      break;
    case ControlKind::HTMLViewer:
      SyncText(item);
      break;
    case ControlKind::Timer: {
      QTimer& timer = static_cast<TimerWidget*>(w)->timer;
      const int period = std::max(c.Period(), 1);
      if (timer.interval() != period) timer.setInterval(period);
      if (c.Mode() == kTimerOff)
        timer.stop();
      else if (!timer.isActive())
        timer.start();
      return;  // never shown
    }
  }
  const QString tip = ToQString(c.HelpTag());
  if (w->toolTip() != tip) w->setToolTip(tip);
  w->setVisible(c.Visible());
}

void WindowWidget::SyncText(Item& item) {
  const std::string& text = item.control->Caption();
  if (item.textShown && item.shownText == text) return;
  item.shownText = text;
  item.textShown = true;
  const ControlKind kind = item.control->kind();
  const bool document = kind == ControlKind::TextArea || kind == ControlKind::HTMLViewer;
  const QString q = ToQString(text, document ? kDocumentChars : kShortTextChars);
  QWidget* w = item.widget;
  switch (kind) {
    case ControlKind::PushButton:
    case ControlKind::RadioButton:
    case ControlKind::CheckBox: {
      // A caption's "&" is a letter, not a keyboard mnemonic.
      QString caption = q;
      static_cast<QAbstractButton*>(w)->setText(caption.replace("&", "&&"));
      break;
    }
    case ControlKind::Label: {
      // A carriage return breaks a label's line, as a line feed does.
      QString lines = q;
      static_cast<QLabel*>(w)->setText(lines.replace("\r\n", "\n").replace('\r', '\n'));
      break;
    }
    case ControlKind::TextField:
      static_cast<QLineEdit*>(w)->setText(q);
      break;
    case ControlKind::TextArea:
      static_cast<QPlainTextEdit*>(w)->setPlainText(q);
      break;
    case ControlKind::HTMLViewer:
      static_cast<HtmlView*>(w)->setHtml(q);
      break;
    default:
      break;
  }
}

void WindowWidget::Detach() {
  model_ = nullptr;
  if (modalLoop) modalLoop->exit();
  hide();
  deleteLater();
}

void WindowWidget::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), model_ ? ToColor(model_->backgroundColor) : QColor(Qt::white));
  if (!model_) return;
  const QImage& image = backdrop_.Get(model_->Backdrop());
  if (!image.isNull()) p.drawImage(QPoint(0, 0), image);  // at its own size
}

void WindowWidget::resizeEvent(QResizeEvent* e) {
  QWidget::resizeEvent(e);
  // The user dragged the frame: the model resizes and carries its controls.
  if (model_ && !syncing_ && (width() != model_->Width() || height() != model_->Height())) {
    model_->SetSize(width(), height());
    Sync();
  }
}

void WindowWidget::closeEvent(QCloseEvent* e) {
  e->ignore();
  if (!model_) return;
  if (modalLoop) {
    // A dialog closed by the window manager answers as Escape would.
    Dispatch([m = model_] { m->PressCancel(); });
  } else {
    Dispatch([] { fw::Quit(0); });
  }
}

}  // namespace fw::qt
