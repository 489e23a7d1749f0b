// Questions and error messages in the message window: the sizing steps by
// text length, the answer, and the shared one-button error dialog.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dialogs/globals_kv.h"
#include "dialogs/message_modal.h"
#include "support/sandbox.h"

namespace {

using fw::testing::ScriptedUI;
using fw::testing::Seen;
using ostrel::test::SandboxTest;

class MessageDialogTest : public SandboxTest {
 protected:
  // Asks `text` as a question, answering with `answer`; the window as it was shown.
  Seen Ask(const std::string& text, ScriptedUI::Answer answer, bool* result = nullptr) {
    ui.answers.push_back(std::move(answer));
    const bool yes = GlobalsKv::YesNoDlg(text);
    if (result) *result = yes;
    EXPECT_FALSE(ui.modals.empty());
    return ui.modals.empty() ? Seen{} : ui.modals.back();
  }
};

struct SizeCase {
  std::string label;
  std::string text;
  int width, height;
  fw::Rect messageText;
  int buttonsTop, btn1Left;
};

TEST_F(MessageDialogTest, QuestionSizesFollowTheTextLengthSteps) {
  const std::string x39(39, 'x');
  const std::vector<SizeCase> cases = {
      {"39 on one line", x39, 322, 93, {20, 14, 282, 27}, 53, 38},
      {"39 with a line break", std::string(19, 'x') + "\n" + std::string(19, 'x'), 512, 193,
       {20, 14, 472, 127}, 153, 228},
      {"40", std::string(40, 'x'), 512, 193, {20, 14, 472, 127}, 153, 228},
      {"199", std::string(199, 'x'), 512, 193, {20, 14, 472, 127}, 153, 228},
      {"200", std::string(200, 'x'), 572, 243, {20, 14, 532, 177}, 203, 288},
      {"400", std::string(400, 'x'), 572, 243, {20, 14, 532, 177}, 203, 288},
      {"401", std::string(401, 'x'), 572, 343, {20, 14, 532, 277}, 303, 288},
      {"600", std::string(600, 'x'), 572, 343, {20, 14, 532, 277}, 303, 288},
      {"601", std::string(601, 'x'), 572, 443, {20, 14, 532, 377}, 403, 288},
      {"5000", std::string(5000, 'x'), 572, 443, {20, 14, 532, 377}, 403, 288},
      // Length counts characters: 39 two-byte letters are still a short text.
      {"39 accented", [] { std::string s; for (int i = 0; i < 39; ++i) s += "\xC3\xA9"; return s; }(),
       322, 93, {20, 14, 282, 27}, 53, 38},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const Seen s = Ask(c.text, ScriptedUI::PressCaption("No"));
    EXPECT_EQ(s.width, c.width);
    EXPECT_EQ(s.height, c.height);
    EXPECT_EQ(s.Get("MessageText").geometry, c.messageText);
    EXPECT_EQ(s.Get("MessageText").caption, c.text);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(s.Get("Btn" + std::to_string(i + 1)).geometry, (fw::Rect{c.btn1Left + 92 * i, c.buttonsTop, 80, 20}));
    }
  }
}

TEST_F(MessageDialogTest, QuestionOffersYesAndNoAndOnlyYesAnswersTrue) {
  bool yes = false;
  const Seen s = Ask("Insert the next disc.", ScriptedUI::PressDefault(), &yes);
  EXPECT_TRUE(yes);
  EXPECT_EQ(s.title, "Confirmation");
  EXPECT_FALSE(s.Get("Btn1").visible);
  EXPECT_EQ(s.Get("Btn2").caption, "Yes");
  EXPECT_TRUE(s.Get("Btn2").isDefault);
  EXPECT_EQ(s.Get("Btn3").caption, "No");
  EXPECT_TRUE(s.Get("Btn3").isCancel);
  EXPECT_FALSE(s.Get("Btn3").isDefault);

  Ask("Insert the next disc.", ScriptedUI::PressCancel(), &yes);  // Escape
  EXPECT_FALSE(yes);
  Ask("Insert the next disc.", ScriptedUI::Press("Btn3"), &yes);
  EXPECT_FALSE(yes);

  // Closed without a press (hidden by someone else): no answer is not a yes.
  Ask("Insert the next disc.", [](fw::Window& w) { w.Hide(); }, &yes);
  EXPECT_FALSE(yes);

  // The hidden first button cannot be pressed, so a question has no third answer.
  EXPECT_THROW(Ask("Insert the next disc.", ScriptedUI::Press("Btn1")), std::logic_error);
}

TEST_F(MessageDialogTest, QuestionLeavesTheGlobalsAsTheMessageTableExpects) {
  GlobalsKv::gConflictType = 36;
  Ask("Remove the old copy?", ScriptedUI::PressDefault());
  EXPECT_EQ(GlobalsKv::gConflictType, 0);
  EXPECT_EQ(GlobalsKv::gErrorString, "Remove the old copy?");
}

TEST_F(MessageDialogTest, EmptyTextAsksAboutAnUnknownError) {
  const Seen s = Ask("", ScriptedUI::PressDefault());
  EXPECT_EQ(s.Get("MessageText").caption, "UNKNOWN ERROR. ");
  EXPECT_EQ(s.width, 322);  // sized by the text it shows

  // By number: a number the table does not know falls back the same way.
  ui.answers.push_back(ScriptedUI::PressCaption("Yes"));
  EXPECT_TRUE(ViewConst::YesNoDialog(12345));
  EXPECT_EQ(ui.modals.back().Get("MessageText").caption, "UNKNOWN ERROR. ");

  ui.answers.push_back(ScriptedUI::PressCaption("No"));
  EXPECT_FALSE(ViewConst::YesNoDialog(39));
  EXPECT_EQ(ui.modals.back().Get("MessageText").caption,
            "INSUFFICIENT RAM.\n\nUnable to process picture due to RAM shortage.");
  EXPECT_EQ(ui.modals.back().width, 512);  // holds line breaks
}

TEST_F(MessageDialogTest, MessageTableJoinsHeadingAndSentenceByTwoLineBreaks) {
  EXPECT_EQ(GlobalsKv::MyGetString(34), "VOLUME NOT FOUND.\n\nThis volume does not exist: ");
  for (int other : {0, 1, 35, 40, 999}) EXPECT_EQ(GlobalsKv::MyGetString(other), "") << other;
}

class ConflictMessageTest : public SandboxTest {
 protected:
  void TearDown() override {
    GlobalsKv::gConflictType = 0;
    GlobalsKv::gErrorString.clear();
    SandboxTest::TearDown();
  }
};

TEST_F(ConflictMessageTest, ShowsTheReadyTextOrTheTablesInOneSharedOkWindowAtDesignSize) {
  GlobalsKv::gConflictType = 0;  // no conflict: nothing shown
  GlobalsKv::gErrorString = "ignored";
  GlobalsKv::ShowConflictMessage();
  EXPECT_TRUE(ui.modals.empty());

  GlobalsKv::gConflictType = 999;
  GlobalsKv::gErrorString = "Cannot copy";
  ui.answers.push_back(ScriptedUI::PressDefault());
  GlobalsKv::ShowConflictMessage();
  GlobalsKv::gConflictType = 36;
  ui.answers.push_back(ScriptedUI::PressCancel());  // Escape closes it too
  GlobalsKv::ShowConflictMessage();
  GlobalsKv::gConflictType = 7;  // not in the table
  ui.answers.push_back([](fw::Window& w) {
    EXPECT_EQ(&w, &MessageModal::Shared());
    w.PressDefault();
  });
  GlobalsKv::ShowConflictMessage();

  ASSERT_EQ(ui.modals.size(), 3u);
  const Seen& s = ui.modals[0];
  EXPECT_EQ(s.title, "Error Message");
  EXPECT_EQ(s.Get("MessageText").caption, "Cannot copy");
  std::vector<std::string> visibleButtons;
  for (auto& c : s.controls)
    if (c.visible && c.name != "MessageText") visibleButtons.push_back(c.caption);
  EXPECT_EQ(visibleButtons, std::vector<std::string>{"OK"});
  EXPECT_EQ(MessageModal::Shared().fBtnName, "OK");
  EXPECT_EQ(ui.modals[1].Get("MessageText").caption, "FILE ALREADY EXISTS.\n\nA file already exists at this path: ");
  EXPECT_EQ(ui.modals[2].Get("MessageText").caption, "UNKNOWN ERROR. ");
  for (const Seen& shown : ui.modals) EXPECT_EQ(std::make_pair(shown.width, shown.height), std::make_pair(572, 243));
}

TEST_F(MessageDialogTest, ReplaceConfirmationAnswersByControlName) {
  YesNoDialog d;
  EXPECT_EQ(d.Title(), "Confirmation");
  EXPECT_EQ(d.Width(), 452);
  EXPECT_EQ(d.Height(), 155);
  d.OKBtn.SetCaption("Replace");  // callers relabel it; the answer stays the name
  ui.answers.push_back(ScriptedUI::PressDefault());
  d.ShowModal();
  EXPECT_EQ(d.fBtnName, "OKBtn");
  ui.answers.push_back(ScriptedUI::PressCancel());  // Escape declines
  d.ShowModal();
  EXPECT_EQ(d.fBtnName, "CancelBtn");
  EXPECT_TRUE(ui.modals[0].Get("OKBtn").isDefault);
  EXPECT_EQ(ui.modals[0].Get("ConfirmLabel3").geometry, (fw::Rect{20, 61, 412, 42}));
}

}  // namespace
