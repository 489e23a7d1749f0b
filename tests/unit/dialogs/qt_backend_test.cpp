// The dialogs as the Qt backend shows them, and the way a Quit travels out of
// Qt's event loops. Built when the test binary links the Qt backend
// (QT_WIDGETS_LIB comes with it); runs under QT_QPA_PLATFORM=offscreen.
#ifdef QT_WIDGETS_LIB

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QRadioButton>
#include <QDir>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "choices/choice_dialogs.h"
#include "core/ostrel_stub_window.h"
#include "dialogs/document_dialogs.h"
#include "dialogs/globals_kv.h"
#include "dialogs/message_modal.h"
#include "framework/qt/control_widgets.h"
#include "framework/qt/event_guard.h"
#include "framework/qt/qt_platform.h"
#include "framework/qt/qt_ui.h"
#include "framework/qt/window_widget.h"
#include "relocation/gatekeeper_translocation.h"
#include "support/sandbox.h"

namespace {

using fw::ControlKind;
using fw::qt::QtUI;

class QtBackendTest : public ostrel::test::SandboxTest {
 protected:
  static void SetUpTestSuite() {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "ostrel_unit_tests";
    static char* argv[] = {name, nullptr};
    if (!QApplication::instance()) new QApplication(argc, argv);
  }
  void SetUp() override {
    SandboxTest::SetUp();
    fw::qt::ResetGuard();
    fw::Install(&qtPlatform, &qt);
  }
  // Clicks the visible button with this caption, in whichever window shows it, after ms.
  static void ClickLater(int ms, const QString& caption) {
    QTimer::singleShot(ms, [caption] {
      for (QWidget* top : QApplication::topLevelWidgets())
        if (top->isVisible())
          for (auto* b : top->findChildren<QPushButton*>())
            if (b->isVisible() && b->text() == caption) return b->click();
      ADD_FAILURE() << "no visible button " << caption.toStdString();
    });
  }
  fw::qt::QtPlatform qtPlatform;
  QtUI qt;
};

TEST_F(QtBackendTest, QuitInANestedModalComesOutOfTheOuterShowing) {
  fw::Window outer("Outer", 200, 100), inner("Inner", 200, 100);
  auto& open = outer.Add(ControlKind::PushButton, "Open", {10, 10, 80, 20});
  open.SetCaption("Open");
  auto& quit = inner.Add(ControlKind::PushButton, "Quit", {10, 10, 80, 20});
  quit.SetCaption("Quit");
  bool resumedAfterInner = false;
  open.Action = [&] {
    ClickLater(50, "Quit");
    inner.ShowModal();
    resumedAfterInner = true;
  };
  quit.Action = [] { fw::Quit(7); };
  ClickLater(50, "Open");

  int code = -1;
  try {
    outer.ShowModal();
  } catch (const fw::QuitRequest& q) {
    code = q.code;
  }
  EXPECT_EQ(code, 7);
  EXPECT_FALSE(resumedAfterInner);
  EXPECT_FALSE(QtUI::WidgetOf(outer).isVisible());
  EXPECT_FALSE(QtUI::WidgetOf(inner).isVisible());
}

// A Quit, or an exception, from a press leaves a wait at once; the top level
// ends its event loop with the Quit's code, or after one report of the error.
TEST_F(QtBackendTest, APressThatQuitsOrThrowsEndsTheWaitAndTheEventLoop) {
  fw::Window main("Main", 200, 100);
  auto& btn = main.Add(ControlKind::PushButton, "QuitBtn", {10, 10, 80, 20});
  btn.SetCaption("Quit");
  btn.Action = [] { fw::Quit(5); };
  main.Show();
  ClickLater(50, "Quit");
  QElapsedTimer clock;
  clock.start();
  EXPECT_THROW(fw::DoEvents(5000), fw::QuitRequest);
  EXPECT_LT(clock.elapsed(), 2000);
  ClickLater(50, "Quit");
  EXPECT_EQ(qt.Exec(), 5);

  fw::qt::ResetGuard();
  btn.Action = [] { throw std::runtime_error("disc on fire"); };
  ClickLater(50, "Quit");
  EXPECT_THROW(fw::DoEvents(5000), std::runtime_error);
  ClickLater(50, "Quit");
  ClickLater(300, "OK");  // the report's one button
  EXPECT_EQ(qt.Exec(), 0);
  main.Hide();
}

TEST_F(QtBackendTest, QuestionWindowMatchesItsSizedModel) {
  std::vector<std::string> seen;
  QTimer::singleShot(50, [&] {
    for (QWidget* top : QApplication::topLevelWidgets()) {
      if (!top->isVisible() || top->windowTitle() != "Confirmation") continue;
      seen.push_back(std::to_string(top->width()) + "x" + std::to_string(top->height()));
      for (auto* b : top->findChildren<QPushButton*>())
        if (b->isVisible()) seen.push_back(b->text().toStdString() + "@" + std::to_string(b->x()) + "," + std::to_string(b->y()));
      const auto* label = top->findChild<QLabel*>();
      seen.push_back(label ? label->text().toStdString() : "no label");
    }
    ClickLater(0, "No");
  });
  EXPECT_FALSE(GlobalsKv::YesNoDlg("Replace & continue?"));
  EXPECT_EQ(seen, (std::vector<std::string>{"322x93", "Yes@130,53", "No@222,53", "Replace & continue?"}));
}

// Sends a key to the widget that has the focus in `window`.
void SendKey(QWidget& window, QEvent::Type type, int key, bool autoRepeat = false,
             Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
  QKeyEvent event(type, key, modifiers, QString(), autoRepeat);
  QCoreApplication::sendEvent(window.focusWidget() ? window.focusWidget() : &window, &event);
}

TEST_F(QtBackendTest, OnlyAKeyPressedAndReleasedInTheWindowAnswersIt) {
  YesNoDialog d;
  QTimer::singleShot(50, [&] {
    QWidget& w = QtUI::WidgetOf(d);
    // A Return that went down in the window before, then one repeating.
    SendKey(w, QEvent::KeyRelease, Qt::Key_Return);
    SendKey(w, QEvent::KeyPress, Qt::Key_Return, true);
    SendKey(w, QEvent::KeyRelease, Qt::Key_Return, true);
    QTimer::singleShot(50, [&] {
      SendKey(w, QEvent::KeyPress, Qt::Key_Escape);
      SendKey(w, QEvent::KeyRelease, Qt::Key_Escape);
    });
  });
  d.ShowModal();
  EXPECT_EQ(d.fBtnName, "CancelBtn");
}

TEST_F(QtBackendTest, TheMainWindowsMenuShortcutsWorkWithoutAMenuBar) {
  OstrelStubWindow main;
  main.Show();
  QWidget& w = QtUI::WidgetOf(main);
  w.activateWindow();
  QTimer::singleShot(50, [&] { SendKey(w, QEvent::KeyPress, Qt::Key_Q, false, Qt::ControlModifier); });
  EXPECT_THROW(fw::DoEvents(3000), fw::QuitRequest);
  main.Hide();
}

TEST_F(QtBackendTest, UserResizingMovesTheModelAndShrinkingBelowTheMinimumIsAllowed) {
  LicenseAgreementWindow d;
  ClickLater(50, "I Agree");
  QTimer::singleShot(10, [&] {
    QWidget& w = QtUI::WidgetOf(d);
    EXPECT_EQ(w.minimumSize(), QSize(690, 210));
    w.resize(800, 500);
    EXPECT_EQ(d.OKBtn.geometry(), (fw::Rect{700, 460, 80, 20}));
    EXPECT_EQ(d.QuitBtn.geometry(), (fw::Rect{608, 460, 80, 20}));
    EXPECT_EQ(d.AgreementEdit.geometry(), (fw::Rect{20, 14, 760, 434}));
  });
  d.SetHeight(210);
  d.ShowModal();
  EXPECT_EQ(d.fBtnName, "OKBtn");
  EXPECT_EQ(QtUI::WidgetOf(d).minimumSize(), QSize(690, 410));  // the design minimum again
}

TEST_F(QtBackendTest, HtmlViewerLoadsNothingAndHandsLinksToTheBrowser) {
  fw::testing::VirtualPlatform recorder;
  fw::Install(&recorder, &qt);
  WriteFile(At("secret.html"), "<p>secret</p>");
  THtmlNotesDlg d;
  d.SetTitle("Notes");
  d.MyHTMLViewer.LoadPage("<HTML><p>Hello</p><img src=\"file://" + At("secret.html") +
                              "\"><a href=\"https://example.com/x\">x</a></HTML>",
                          At("tmp"));
  d.Show();
  auto* view = QtUI::WidgetOf(d).findChild<fw::qt::HtmlView*>();
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(view->toPlainText().contains("Hello"));
  const QUrl file = QUrl::fromLocalFile(QString::fromStdString(At("secret.html")));
  EXPECT_TRUE(view->document()->resource(QTextDocument::ImageResource, file).isNull());
  EXPECT_TRUE(view->document()->resource(QTextDocument::HtmlResource, file).isNull());

  emit view->anchorClicked(QUrl("https://example.com/x"));
  emit view->anchorClicked(QUrl("notes.html"));  // relative: the page has no place to resolve it
  EXPECT_EQ(recorder.urls, std::vector<std::string>{"https://example.com/x"});
  d.Hide();
}

TEST_F(QtBackendTest, PicturesAndProgressDrawAsTheModelSays) {
  fw::Picture p(2, 1);
  p.SetPixel(0, 0, 0xFFFFFF);
  p.SetPixel(1, 0, 0x336699);
  EXPECT_EQ(fw::qt::ToImage(p).pixel(0, 0), 0xFFFFFFFFu);
  p.transparent = 1;
  EXPECT_EQ(qAlpha(fw::qt::ToImage(p).pixel(0, 0)), 0);
  EXPECT_EQ(fw::qt::ToImage(p).pixel(1, 0), 0xFF336699u);

  fw::Window w("Progress", 200, 60);
  auto& bar = w.Add(ControlKind::ProgressBar, "Bar", {10, 10, 180, 20});
  bar.SetMaximum(int64_t{10} << 32);  // a byte count beyond int
  bar.SetValue(int64_t{4} << 32);
  w.Show();
  auto* q = QtUI::WidgetOf(w).findChild<QProgressBar*>();
  EXPECT_EQ(q->value() * 10, q->maximum() * 4);
  bar.SetMaximum(100);
  bar.SetValue(250);
  EXPECT_EQ(q->value(), 100);
  w.Hide();
}

// The pick-one rows are radio buttons of one group, and the screen always
// shows the row that will be installed, also after the one that is on is
// clicked again; the options' check boxes show what is ticked.
TEST_F(QtBackendTest, ChoiceRowsAreOneRadioGroupAndOptionsCheckBoxesShowTheModel) {
  const auto settle = [] {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
  };
  TChoiceDlg choice;
  choice.Fill("ChoiceRadio", {"Basic,b.zip,B", "Full,f.zip,F"});
  choice.ChoiceRadio(0).SetValue(1);
  choice.Show();
  QList<QRadioButton*> radios = QtUI::WidgetOf(choice).findChildren<QRadioButton*>();
  ASSERT_GE(radios.size(), 2);
  EXPECT_EQ(QAccessible::queryAccessibleInterface(radios[0])->role(), QAccessible::RadioButton);
  for (int row : {0, 0, 1, 1, 0}) {
    radios[row]->click();
    settle();
    for (int i : {0, 1}) {
      EXPECT_EQ(choice.ChoiceRadio(i).Value(), i == row ? 1 : 0) << row;
      EXPECT_EQ(radios[i]->isChecked(), i == row) << "row " << i << " after a click on " << row;
    }
  }
  choice.Hide();

  TOptionsDlg options;
  options.Fill("OptionCheckBox", {"Docs,d.zip,D", "Data,e.zip,E"});
  options.Show();
  QList<QCheckBox*> boxes = QtUI::WidgetOf(options).findChildren<QCheckBox*>();
  ASSERT_GE(boxes.size(), 2);
  EXPECT_EQ(QAccessible::queryAccessibleInterface(boxes[0])->role(), QAccessible::CheckBox);
  for (int row : {1, 0, 1}) {
    boxes[row]->click();
    settle();
  }
  EXPECT_EQ(options.OptionCheckBox(0).Value(), 1);
  EXPECT_EQ(options.OptionCheckBox(1).Value(), 0);
  EXPECT_TRUE(boxes[0]->isChecked());
  EXPECT_FALSE(boxes[1]->isChecked());
  options.Hide();
}

TEST_F(QtBackendTest, EveryWindowThatAppearsIsSavedWhenAskedTo) {
  qputenv("OSTREL_SCREENSHOT_DIR", QByteArray::fromStdString(At("shots")));
  fw::Window w("Shot/Title", 120, 40);
  w.Show();
  w.Hide();
  qunsetenv("OSTREL_SCREENSHOT_DIR");
  const QStringList files = QDir(QString::fromStdString(At("shots"))).entryList({"*.png"});
  ASSERT_EQ(files.size(), 1);
  EXPECT_TRUE(files[0].endsWith("-Shot_Title.png")) << files[0].toStdString();
}

TEST_F(QtBackendTest, TheTranslocationDialogShowsItsTwoParagraphsAndHidesNoTypedText) {
  // Its picture goes where the caller asks, else into the sandbox.
  const bool ours = qEnvironmentVariableIsEmpty("OSTREL_SCREENSHOT_DIR");
  if (ours) qputenv("OSTREL_SCREENSHOT_DIR", QByteArray::fromStdString(At("shots")));
  TGatekeeperTranslocationDlg d;
  QString explanation;
  QLineEdit::EchoMode echo = QLineEdit::Password;
  QTimer::singleShot(50, [&] {
    QWidget& w = QtUI::WidgetOf(d);
    for (auto* label : w.findChildren<QLabel*>())
      if (label->text().startsWith("Gatekeeper")) explanation = label->text();
    for (auto* edit : w.findChildren<QLineEdit*>()) echo = edit->echoMode();
    ClickLater(0, "Cancel");
  });
  d.ShowModal();
  if (ours) qunsetenv("OSTREL_SCREENSHOT_DIR");
  EXPECT_EQ(d.fBtnName, "CancelBtn");
  EXPECT_TRUE(explanation.contains("OS bug.  \n\nTo correct")) << explanation.toStdString();
  EXPECT_EQ(echo, QLineEdit::Normal);
}

}  // namespace

#endif  // QT_WIDGETS_LIB
