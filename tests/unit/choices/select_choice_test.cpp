// The choice and option dialogs as the user sees them, and their answers.
#include <gtest/gtest.h>

#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

std::string Entries(int n, const std::string& prefix) {
  std::string field;
  for (int i = 0; i < n; ++i) field += (i ? "|" : "") + prefix + std::to_string(i) + ",p.zip,F,tip " + std::to_string(i);
  return field;
}

// Presses the named rows, then the button.
ScriptedUI::Answer Pick(std::vector<std::string> rows, const std::string& button = "ContinueBtn") {
  return [rows, button](fw::Window& w) {
    for (const auto& r : rows) w.Get(r).Press();
    w.Get(button).Press();
  };
}

class SelectChoiceTest : public CoreTest {
 protected:
  bool Select() { return window->SelectChoiceAndOptions(choice, options); }
  std::string choice, options;
};

TEST_F(SelectChoiceTest, TheDialogsFitTheirEntries) {
  window->fLabels = {"", "Leave", "", "", "Okay"};
  window->fLabels.resize(25);
  window->fLabels[24] = "Extras";
  for (int n : {1, 9, 10, 11}) {
    window->fInstallChoices = Entries(n, "C");
    window->fInstallOptions = Entries(n, "O") + ",sha256=00";
    ui.answers = {ScriptedUI::PressDefault(), ScriptedUI::PressDefault()};
    ASSERT_TRUE(Select());
  }
  ASSERT_EQ(ui.modals.size(), 8u);
  const int shown[] = {1, 9, 10, 10};  // an eleventh entry has no row
  const int top[] = {46, 302, 343, 343};
  for (size_t k = 0; k < 8; ++k) {
    SCOPED_TRACE(k);
    const auto& seen = ui.modals[k];
    const bool choices = k % 2 == 0;
    const std::string row = choices ? "ChoiceRadio(" : "OptionCheckBox(";
    EXPECT_EQ(seen.title, choices ? "Pick One Choice" : "Extras");
    EXPECT_EQ(seen.width, 340);
    EXPECT_EQ(seen.height, top[k / 2] + 40);
    EXPECT_EQ(seen.Get("QuitBtn").geometry, (fw::Rect{148, top[k / 2], 80, 20}));
    EXPECT_EQ(seen.Get("ContinueBtn").geometry, (fw::Rect{240, top[k / 2], 80, 20}));
    EXPECT_EQ(seen.Get("QuitBtn").caption, "Quit");  // never a custom label
    EXPECT_EQ(seen.Get("ContinueBtn").caption, "Continue");
    for (int i = 0; i < 10; ++i) {
      const auto* r = seen.Find(row + std::to_string(i) + ")");
      EXPECT_EQ(r->visible, i < shown[k / 2]);
      EXPECT_EQ(r->geometry, (fw::Rect{20, 14 + 32 * i, 300, 20}));
      if (i < shown[k / 2]) {
        EXPECT_EQ(r->helpTag, "tip " + std::to_string(i));  // the fifth sub-field is not part of it
      }
      EXPECT_EQ(r->value, choices && i == 0);
    }
  }
  EXPECT_EQ(choice, "C0");
  EXPECT_EQ(options, "");
}

TEST_F(SelectChoiceTest, TheAnswersAreCaptionsInRowOrder) {
  window->fInstallChoices = "Standard,std.zip|Full,full.zip,Extras,Everything";
  window->fInstallOptions = "Docs,d.zip|Samples|Tools,t.zip,,";
  ui.answers = {Pick({"ChoiceRadio(1)"}), Pick({"OptionCheckBox(2)", "OptionCheckBox(0)"})};
  EXPECT_TRUE(Select());
  EXPECT_EQ(choice, "Full");
  EXPECT_EQ(options, "Docs,Tools");
  EXPECT_EQ(ui.modals[0].Get("ChoiceRadio(0)").helpTag, "");  // an entry without a tag
  EXPECT_EQ(ui.modals[1].Get("OptionCheckBox(1)").caption, "Samples");
}

TEST_F(SelectChoiceTest, QuitInEitherDialogEndsTheRunAndEmptyFieldsAskNothing) {
  EXPECT_TRUE(Select());
  EXPECT_TRUE(ui.modals.empty());

  window->fInstallOptions = "Docs,d.zip";
  ui.answers = {Pick({"OptionCheckBox(0)"}, "QuitBtn")};
  EXPECT_FALSE(Select());
  EXPECT_EQ(ui.modals.size(), 1u);

  window->fInstallChoices = "Standard,std.zip";
  ui.answers = {ScriptedUI::PressCancel()};  // Escape
  EXPECT_FALSE(Select());
  EXPECT_EQ(ui.modals.size(), 2u);  // no option dialog after it
  EXPECT_EQ(ui.modals[1].title, "Pick One Choice");

  choice.clear();
  ui.answers = {Pick({}), Pick({})};
  EXPECT_TRUE(Select());
  EXPECT_EQ(choice, "Standard");
  EXPECT_EQ(options, "");
}

}  // namespace
}  // namespace ostrel::test
