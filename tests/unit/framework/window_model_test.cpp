// The window model: anchors on resize, presses and the top-level guard.
#include <gtest/gtest.h>

#include "framework/runtime.h"
#include "framework/window.h"
#include "support/sandbox.h"

namespace {

using fw::ControlKind;
using ostrel::test::SandboxTest;

TEST(WindowModel, ResizeCarriesControlsByTheirAnchors) {
  fw::Window w("Doc", 690, 410);
  auto& area = w.Add(ControlKind::TextArea, "Area", {20, 14, 650, 344});
  area.SetAnchors({true, true, true, true});
  auto& btn = w.Add(ControlKind::PushButton, "Btn", {590, 370, 80, 20});
  btn.SetAnchors({false, false, true, true});
  auto& fixed = w.Add(ControlKind::Label, "Fixed", {5, 5, 10, 10});

  w.SetHeight(210);
  EXPECT_EQ(area.geometry(), (fw::Rect{20, 14, 650, 144}));
  EXPECT_EQ(btn.geometry(), (fw::Rect{590, 170, 80, 20}));
  EXPECT_EQ(fixed.geometry(), (fw::Rect{5, 5, 10, 10}));

  w.SetWidth(790);
  EXPECT_EQ(area.Width(), 750);
  EXPECT_EQ(btn.Left(), 690);
}

TEST(WindowModel, OnlyVisibleEnabledControlsReactToAPress) {
  fw::Window w("W", 100, 100);
  int presses = 0;
  auto& b = w.Add(ControlKind::PushButton, "B", {0, 0, 10, 10});
  b.Action = [&] { ++presses; };
  b.Press();
  b.SetEnabled(false);
  b.Press();
  b.SetEnabled(true);
  b.SetVisible(false);
  b.Press();
  EXPECT_EQ(presses, 1);
}

TEST(WindowModel, RadioButtonsExcludeEachOther) {
  fw::Window w("W", 100, 100);
  auto& a = w.Add(ControlKind::RadioButton, "A", {0, 0, 10, 10});
  auto& b = w.Add(ControlKind::RadioButton, "B", {0, 20, 10, 10});
  a.Press();
  b.Press();
  EXPECT_EQ(a.Value(), 0);
  EXPECT_EQ(b.Value(), 1);
}

class GuardTest : public SandboxTest {};

TEST_F(GuardTest, QuitGivesItsCodeAndAnExceptionEndsInOnePlainMessage) {
  EXPECT_EQ(Run([] { fw::Quit(0); }), 0);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(Run([] {}), std::nullopt);

  EXPECT_EQ(Run([] { throw std::runtime_error("disc on fire"); }), 0);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].find("disc on fire"), std::string::npos);
}

TEST_F(GuardTest, ModalWindowsGoToTheScriptedAnswerInTurnAndTheirSnapshotsHoldOnlyTheirControls) {
  fw::Window w("Question", 200, 100);
  std::string pressed;
  auto& yes = w.Add(ControlKind::PushButton, "Yes", {0, 0, 10, 10});
  yes.SetCaption("Yes");
  yes.Action = [&] { pressed = "Yes"; w.Hide(); };
  ui.answers.push_back(fw::testing::ScriptedUI::PressCaption("Yes"));
  w.ShowModal();
  EXPECT_EQ(pressed, "Yes");
  ASSERT_EQ(ui.modals.size(), 1u);
  EXPECT_EQ(ui.modals[0].title, "Question");
  EXPECT_THROW(w.ShowModal(), std::logic_error);  // nobody expected a second showing
  // A control the snapshot lacks fails the test that asks for it.
  EXPECT_EQ(ui.modals[0].Get("Yes").name, "Yes");
  EXPECT_THROW(ui.modals[0].Get("No"), std::logic_error);
}

TEST_F(GuardTest, LaunchOfAClaimedExtensionStaysInProcess) {
  std::string opened;
  fw::RegisterOpener(".zip", [&](const std::string& p) { opened = p; });
  fw::Launch(At("a/B.ZIP"), true);
  fw::Launch(At("a/tool"), true);
  fw::RegisterOpener(".zip", nullptr);
  EXPECT_EQ(opened, At("a/B.ZIP"));
  ASSERT_EQ(platform.launches.size(), 1u);
  EXPECT_EQ(platform.launches[0].path, At("a/tool"));
}

}  // namespace
