// The main window's design and its buttons.
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"

using fw::ControlKind;

OstrelStubWindow::OstrelStubWindow()
    : fw::Window("Install", 396, 238),
      QuitBtn(Add(ControlKind::PushButton, "QuitBtn", {204, 198, 80, 20})),
      InstallBtn(Add(ControlKind::PushButton, "InstallBtn", {296, 198, 80, 20})),
      MessageLabel(Add(ControlKind::Label, "MessageLabel", {96, 14, 204, 77})),
      ProgressBar1(Add(ControlKind::ProgressBar, "ProgressBar1", {37, 198, 155, 20})),
      URLLabel(Add(ControlKind::Label, "URLLabel", {20, 104, 356, 20})),
      PictureCanvas(Add(ControlKind::Canvas, "PictureCanvas", {20, 12, 64, 64})),
      LogoCanvas(Add(ControlKind::Canvas, "LogoCanvas", {312, 12, 64, 64})),
      CopyrightLabel(Add(ControlKind::Label, "CopyrightLabel", {20, 226, 356, 12})),
      InfoBtn(Add(ControlKind::PushButton, "InfoBtn", {20, 198, 80, 20})) {
  frame.modal = true;
  frame.resizable = false;
  backgroundColor = 0xFFFFFF;

  QuitBtn.SetCaption("Quit");
  InstallBtn.SetCaption("Install");
  InstallBtn.SetDefault(true);
  MessageLabel.SetMultiline(true);
  ProgressBar1.SetVisible(false);
  URLLabel.SetVisible(false);
  URLLabel.SetUnderline(true);
  URLLabel.SetTextColor(0x0000FF);
  PictureCanvas.SetVisible(false);
  LogoCanvas.SetVisible(false);
  CopyrightLabel.SetVisible(false);
  CopyrightLabel.SetTextSize(9);
  InfoBtn.SetCaption("Info");
  InfoBtn.SetVisible(false);

  using fw::MenuRole;
  MenuBar1.menus = {
      {"FileMenu", "&File", {{"FileQuit", "&Quit", "Ctrl+Q", MenuRole::Quit, {}}}},
      {"EditMenu",
       "&Edit",
       {{"EditUndo", "&Undo", "Ctrl+Z", MenuRole::Undo, {}},
        {},
        {"EditCut", "Cu&t", "Ctrl+X", MenuRole::Cut, {}},
        {"EditCopy", "&Copy", "Ctrl+C", MenuRole::Copy, {}},
        {"EditPaste", "&Paste", "Ctrl+V", MenuRole::Paste, {}},
        {"EditClear", "&Delete", "", MenuRole::Clear, {}},
        {},
        {"EditSelectAll", "Select &All", "Ctrl+A", MenuRole::SelectAll, {}}}},
  };
  menuBar = &MenuBar1;

  QuitBtn.Action = [this] { QuitBtn_Action(); };
  InstallBtn.Action = [this] { InstallBtn_Action(); };
  InfoBtn.Action = [this] { InfoBtn_Action(); };
  URLLabel.MouseDown = [this](int x, int y) { return URLLabel_MouseDown(x, y); };
}

std::string OstrelStubWindow::Label(size_t index) const {
  return index < fLabels.size() ? fLabels[index] : std::string();
}

std::string OstrelStubWindow::CustomLabel(const std::string& defaultText, const std::string& customText) {
  return customText.empty() ? defaultText : customText;
}

void OstrelStubWindow::QuitBtn_Action() { fw::Quit(0); }

void OstrelStubWindow::InstallBtn_Action() {
  InstallBtn.SetEnabled(false);
  OKBtnClicked();
  fw::Quit(0);
}

void OstrelStubWindow::InfoBtn_Action() { InfoBtnClicked(); }

bool OstrelStubWindow::URLLabel_MouseDown(int, int) {
  if (!fURLActual.empty()) {
    const bool hasScheme = ViewConst::Pos("http", fURLActual) > 0;
    fw::ShowURL(hasScheme ? fURLActual : "http://" + fURLActual);
  }
  return false;
}

bool OstrelStubWindow::Event_CancelClose() { return false; }

void OstrelStubWindow::ShowInstallinProgress() {
  MessageLabel.SetText(CustomLabel("Install in Progress...", Label(19)));
  SetFocus();
  MessageLabel.Refresh();
  Refresh();
  fw::DoEvents(0);
}

void App::Event_Open() {
  ViewConst::gLineBreak = std::string(1, '\n');
  ViewConst::gRandom.seed(std::random_device{}());
  ViewConst::gIgnoreTranslocationError = true;
}
