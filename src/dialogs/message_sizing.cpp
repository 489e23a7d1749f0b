// Questions in the message window, and the fixed steps by which the window
// fits itself to the length of its text.
#include <string>

#include "dialogs/globals_kv.h"
#include "dialogs/message_modal.h"
#include "fileutil/view_const.h"

namespace ViewConst {
namespace {

// The length in characters, not bytes: a UTF-8 sequence counts once.
size_t CharacterCount(const std::string& text) {
  size_t n = 0;
  for (unsigned char c : text)
    if ((c & 0xC0) != 0x80) ++n;
  return n;
}

void Grow(fw::Control& c, int dLeft, int dTop, int dWidth, int dHeight) {
  const fw::Rect r = c.geometry();
  c.SetGeometry({r.left + dLeft, r.top + dTop, r.width + dWidth, r.height + dHeight});
}

// Window and text grow or shrink together; the buttons keep their distance
// to the bottom right corner.
void Step(MessageModal& d, int dWidth, int dHeight) {
  d.SetSize(d.Width() + dWidth, d.Height() + dHeight);
  Grow(d.MessageText, 0, 0, dWidth, dHeight);
  for (fw::Control* b : {&d.Btn1, &d.Btn2, &d.Btn3}) Grow(*b, dWidth, dHeight, 0, 0);
}

}  // namespace

void MessageModalStartSize(MessageModal& dialog, const std::string& text) {
  const size_t n = CharacterCount(text);
  const bool oneLine = gLineBreak.empty() || text.find(gLineBreak) == std::string::npos;
  if (n < 40 && oneLine)
    Step(dialog, -250, -150);
  else if (n < 200)
    Step(dialog, -60, -50);
  else if (n > 600)
    Step(dialog, 0, 200);
  else if (n > 400)
    Step(dialog, 0, 100);
}

void MessageModalEndSize(MessageModal& dialog, const std::string&) {
  // Back to the design, so that the same object could be shown again.
  dialog.SetSize(572, 243);
  dialog.MessageText.SetGeometry({20, 14, 532, 177});
  dialog.Btn1.SetGeometry({288, 203, 80, 20});
  dialog.Btn2.SetGeometry({380, 203, 80, 20});
  dialog.Btn3.SetGeometry({472, 203, 80, 20});
}

void ModalScriptShow(fw::Window& window) { window.ShowModal(); }

void DoShowModal(fw::Window& window) { window.ShowModal(); }

bool YesNoDialog(int number) {
  std::string text = number == 999 ? GlobalsKv::gErrorString : GlobalsKv::MyGetString(number);
  if (text.empty()) text = GlobalsKv::MyGetString(-1);

  MessageModal dialog;
  dialog.SetTitle("Confirmation");
  dialog.MessageText.SetText(LineEndingEncoding(text));
  dialog.Btn1.SetVisible(false);
  dialog.Btn2.SetCaption("Yes");
  dialog.Btn2.SetDefault(true);
  dialog.Btn2.SetVisible(true);
  dialog.Btn3.SetCaption("No");
  dialog.Btn3.SetDefault(false);
  dialog.Btn3.SetCancel(true);
  dialog.Btn3.SetVisible(true);

  MessageModalStartSize(dialog, text);
  ModalScriptShow(dialog);
  MessageModalEndSize(dialog, text);
  return dialog.fBtnName == "Yes";
}

}  // namespace ViewConst
