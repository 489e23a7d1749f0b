// The Qt widgets behind the control kinds that need more than a stock widget:
// a canvas that paints its picture, a label that takes clicks, and an HTML
// view that shows the given text and nothing else.
#pragma once

#include <QImage>
#include <QLabel>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTimer>
#include <functional>
#include <memory>

#include "framework/picture.h"

namespace fw::qt {

// The picture as Qt draws it; with transparency mode 1 white is see-through.
QImage ToImage(const Picture& picture);

// Holds the converted image of one picture and converts again only when the
// model hands over a different picture.
class PictureCache {
 public:
  const QImage& Get(const std::shared_ptr<const Picture>& picture);

 private:
  std::shared_ptr<const Picture> source_;
  QImage image_;
};

// A canvas: its backdrop picture drawn from the top left, cut to the canvas.
class CanvasWidget : public QWidget {
 public:
  explicit CanvasWidget(QWidget* parent) : QWidget(parent) {}
  void SetPicture(std::shared_ptr<const Picture> picture);
  std::function<void(int x, int y)> onMouseDown;

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* e) override;

 private:
  std::shared_ptr<const Picture> picture_;
  PictureCache cache_;
};

// A label that reports mouse downs when the model listens for them.
class ClickLabel : public QLabel {
 public:
  explicit ClickLabel(QWidget* parent) : QLabel(parent) {}
  std::function<void(int x, int y)> onMouseDown;

 protected:
  void mousePressEvent(QMouseEvent* e) override;
};

// A document that never loads anything: no file, no network, no resource.
class SealedDocument : public QTextDocument {
 public:
  using QTextDocument::QTextDocument;

 protected:
  QVariant loadResource(int type, const QUrl& name) override;
};

// The HTML viewer. It shows the text it is given; images and style sheets
// that the page names are not fetched, scripts do not exist here, and a
// click on a link is handed to onLink instead of being followed.
class HtmlView : public QTextBrowser {
 public:
  explicit HtmlView(QWidget* parent);
  std::function<void(const QUrl& url)> onLink;

 protected:
  QVariant loadResource(int type, const QUrl& name) override;
};

// A timer: never seen; its QTimer follows the model's period and mode.
class TimerWidget : public QWidget {
 public:
  explicit TimerWidget(QWidget* parent) : QWidget(parent) { hide(); }
  QTimer timer;
};

}  // namespace fw::qt
