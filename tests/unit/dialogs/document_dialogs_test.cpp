// The document windows: layout carried by anchors, and the button that closed them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dialogs/document_dialogs.h"
#include "support/sandbox.h"

namespace {

using fw::testing::ScriptedUI;
using ostrel::test::SandboxTest;

class DocumentDialogTest : public SandboxTest {};

std::vector<std::string> VisibleButtons(const fw::testing::Seen& s) {
  std::vector<std::string> names;
  for (auto& c : s.controls)
    if (c.visible && (c.name == "OKBtn" || c.name == "QuitBtn" || c.name == "ContinueBtn"))
      names.push_back(c.name);
  return names;
}

TEST_F(DocumentDialogTest, ShorterAgreementWindowShrinksTheTextAndCarriesTheButtonsUp) {
  LicenseAgreementWindow d;
  EXPECT_EQ(d.MinWidth(), 690);
  EXPECT_EQ(d.MinHeight(), 410);
  d.SetHeight(d.Height() - 200);
  ui.answers.push_back(ScriptedUI::PressDefault());
  d.ShowModal();

  const auto& s = ui.modals.at(0);
  EXPECT_EQ(s.height, 210);
  EXPECT_EQ(s.Get("AgreementEdit").geometry, (fw::Rect{20, 14, 650, 144}));
  EXPECT_EQ(s.Get("QuitBtn").geometry, (fw::Rect{498, 170, 80, 20}));
  EXPECT_EQ(s.Get("OKBtn").geometry, (fw::Rect{590, 170, 80, 20}));
  EXPECT_EQ(d.fBtnName, "OKBtn");
}

TEST_F(DocumentDialogTest, EachButtonReportsItsOwnName) {
  {
    LicenseAgreementWindow d;
    EXPECT_EQ(d.fBtnName, "");
    ui.answers.push_back(ScriptedUI::PressCaption("Quit"));
    d.ShowModal();
    EXPECT_EQ(d.fBtnName, "QuitBtn");
    EXPECT_FALSE(d.Visible());
    d.fBtnName.clear();
    ui.answers.push_back(ScriptedUI::PressCancel());  // Escape
    d.ShowModal();
    EXPECT_EQ(d.fBtnName, "QuitBtn");
  }
  {
    THtmlNotesDlg d;
    d.SetTitle("Pre-Installation Notes");
    d.ContinueBtn.SetCaption("I Agree");
    ui.answers.push_back(ScriptedUI::PressCaption("I Agree"));
    d.ShowModal();
    EXPECT_EQ(d.fBtnName, "ContinueBtn");
    ui.answers.push_back(ScriptedUI::PressCancel());  // Escape
    d.ShowModal();
    EXPECT_EQ(d.fBtnName, "QuitBtn");
  }
  const auto& html = ui.modals.at(2);
  EXPECT_EQ(html.width, 762);
  EXPECT_EQ(html.height, 511);
  EXPECT_EQ(html.Get("MyHTMLViewer").geometry, (fw::Rect{0, 0, 762, 460}));
  EXPECT_TRUE(html.Get("ContinueBtn").isDefault);
}

TEST_F(DocumentDialogTest, HiddenQuitButtonLeavesOnlyTheAcceptButton) {
  THtmlNotesDlg html;
  html.QuitBtn.SetVisible(false);
  // Escape has no button to press now, and the quit button cannot be reached.
  ui.answers.push_back(ScriptedUI::PressCancel());
  EXPECT_THROW(html.ShowModal(), std::logic_error);
  ui.answers.push_back(ScriptedUI::Press("QuitBtn"));
  EXPECT_THROW(html.ShowModal(), std::logic_error);
  EXPECT_EQ(html.fBtnName, "");
  EXPECT_EQ(VisibleButtons(ui.modals.at(0)), std::vector<std::string>{"ContinueBtn"});

  LicenseAgreementWindow plain;
  plain.QuitBtn.SetVisible(false);
  ui.answers.push_back(ScriptedUI::PressDefault());
  plain.ShowModal();
  EXPECT_EQ(VisibleButtons(ui.modals.back()), std::vector<std::string>{"OKBtn"});
  EXPECT_EQ(plain.fBtnName, "OKBtn");
}

TEST_F(DocumentDialogTest, HtmlDialogResizesWithItsViewer) {
  THtmlNotesDlg d;
  d.SetSize(900, 600);
  EXPECT_EQ(d.MyHTMLViewer.geometry(), (fw::Rect{0, 0, 900, 549}));
  EXPECT_EQ(d.ContinueBtn.geometry(), (fw::Rect{780, 561, 100, 30}));
  EXPECT_EQ(d.QuitBtn.geometry(), (fw::Rect{668, 561, 100, 30}));
}

}  // namespace
