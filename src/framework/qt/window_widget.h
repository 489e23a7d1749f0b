// One window model as a real top-level widget. The widget follows the model
// (Sync after every change) and feeds back what the user does: presses,
// clicks, typing, resizing. The model stays the one truth; the widget never
// keeps state that the model does not have.
#pragma once

#include <QEventLoop>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "framework/qt/control_widgets.h"
#include "framework/window.h"

namespace fw::qt {

class WindowWidget : public QWidget {
 public:
  explicit WindowWidget(Window& model);
  ~WindowWidget() override;

  // Brings every widget in line with the model.
  void Sync();
  // The model is going away: forget it, hide, and delete later.
  void Detach();
  Window* Model() const { return model_; }

  // The event loop of a modal showing, exited when the model hides itself.
  QEventLoop* modalLoop = nullptr;

 protected:
  void paintEvent(QPaintEvent*) override;
  void resizeEvent(QResizeEvent*) override;
  void closeEvent(QCloseEvent*) override;

 private:
  struct Item {
    Control* control;
    QWidget* widget;
    std::string shownText;  // what the widget holds, to skip needless reloads
    bool textShown = false;
  };
  QWidget* MakeWidget(Control& c);
  void SyncFrame();
  void SyncControl(Item& item);
  void SyncText(Item& item);

  Window* model_;
  std::vector<Item> items_;
  PictureCache backdrop_;
  bool syncing_ = false;
};

// The model's text as Qt holds it, and back.
QString ToQString(const std::string& utf8);
std::string FromQString(const QString& s);

// Texts go to the window system bounded: a title of megabytes breaks the X
// connection, a label of megabytes freezes the layout. A longer text is cut
// at a character and ends in "...".
constexpr size_t kTitleChars = 512, kShortTextChars = 8192, kDocumentChars = size_t(4) << 20;
QString ToQString(const std::string& utf8, size_t maxChars);

}  // namespace fw::qt
