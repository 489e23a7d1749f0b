#include "framework/qt/control_widgets.h"

#include <QMouseEvent>
#include <QPainter>

namespace fw::qt {

QImage ToImage(const Picture& picture) {
  if (picture.width <= 0 || picture.height <= 0 ||
      picture.rgb.size() < static_cast<size_t>(picture.width) * picture.height * 3)
    return QImage();
  const bool seeThrough = picture.transparent == 1;
  QImage image(picture.width, picture.height, seeThrough ? QImage::Format_ARGB32 : QImage::Format_RGB32);
  for (int y = 0; y < picture.height; ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < picture.width; ++x) {
      const uint32_t rgb = picture.Pixel(x, y);
      line[x] = seeThrough && rgb == 0xFFFFFF ? qRgba(0, 0, 0, 0) : (0xFF000000u | rgb);
    }
  }
  return image;
}

const QImage& PictureCache::Get(const std::shared_ptr<const Picture>& picture) {
  if (picture != source_) {
    source_ = picture;
    image_ = picture ? ToImage(*picture) : QImage();
  }
  return image_;
}

void CanvasWidget::SetPicture(std::shared_ptr<const Picture> picture) {
  if (picture == picture_) return;
  picture_ = std::move(picture);
  update();
}

void CanvasWidget::paintEvent(QPaintEvent*) {
  const QImage& image = cache_.Get(picture_);
  if (image.isNull()) return;
  QPainter p(this);
  p.setClipRect(rect());
  p.drawImage(QPoint(0, 0), image);
}

void CanvasWidget::mousePressEvent(QMouseEvent* e) {
  if (onMouseDown) onMouseDown(e->position().toPoint().x(), e->position().toPoint().y());
  QWidget::mousePressEvent(e);
}

void ClickLabel::mousePressEvent(QMouseEvent* e) {
  if (onMouseDown) onMouseDown(e->position().toPoint().x(), e->position().toPoint().y());
  QLabel::mousePressEvent(e);
}

QVariant SealedDocument::loadResource(int, const QUrl&) { return QVariant(); }

HtmlView::HtmlView(QWidget* parent) : QTextBrowser(parent) {
  setDocument(new SealedDocument(this));
  setOpenLinks(false);
  setOpenExternalLinks(false);
  setSearchPaths({});
  setUndoRedoEnabled(false);
  connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl& url) {
    // A link inside the page just scrolls; one that leaves it goes to the browser.
    if (url.isRelative() && url.path().isEmpty() && url.hasFragment()) {
      scrollToAnchor(url.fragment());
      return;
    }
    if (onLink) onLink(url);
  });
}

QVariant HtmlView::loadResource(int, const QUrl&) { return QVariant(); }

}  // namespace fw::qt
