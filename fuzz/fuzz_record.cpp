// The setup record as ReadData meets it: the input is the bytes of Data, a
// zero byte, then the bytes of TextData. Whatever the bytes, reading must
// not crash, the cipher must undo itself, and every text that leaves the
// reader must be UTF-8.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/ostrel_stub_window.h"
#include "core/pixel_pictures.h"
#include "fileutil/view_const.h"
#include "framework/text.h"
#include "fuzz_support.h"

using ostrel::fuzz::Check;
using ostrel::fuzz::IsStrictUtf8;

namespace {

const char* const kTextSeparator = "|#|";
// More fields than the record has, so that a text with extra separators is
// read past its known end too.
constexpr int kMostFields = 40;
// Pictures larger than this are left to the pixel target.
constexpr int kMostPictureSide = 64;

void CheckLongText(const std::string& field) {
  const std::string out = OstrelStubWindow::ReadPlainOrHtmlText(field);
  Check(IsStrictUtf8(out), "ReadPlainOrHtmlText gave text that is not UTF-8");
  if (ViewConst::Pos("$HTML$", field) == 0) {
    // A plain text only has its "|" turned into line breaks.
    Check(out.size() == field.size(), "a plain long text changed its length");
    Check(out.find('|') == std::string::npos, "a plain long text kept a \"|\"");
  }
}

// Builds a picture of the record as the startup does, when it is small.
void CheckPicture(int width, int height, const std::string& pixels) {
  Check(pixels.find(',') == std::string::npos, "a picture field kept its sizes");
  if (width <= 0 || height <= 0 || width > kMostPictureSide || height > kMostPictureSide) return;
  auto& ui = ostrel::fuzz::GetSeams().ui;
  const size_t shownBefore = ui.modals.size();
  auto picture = ViewConst::PixelStringToPicture(width, height, pixels);
  if (picture) {
    Check(picture->width == width && picture->height == height, "the picture has another size");
    Check(picture->rgb.size() == static_cast<size_t>(width) * height * 3, "the picture's pixels are short");
    Check(ui.modals.size() == shownBefore, "a message showed for a picture that was built");
  } else if (!pixels.empty()) {
    Check(ui.modals.size() == shownBefore + 1, "a picture failed without its one message");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ostrel::fuzz::GetSeams().Reset();
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t cut = input.find('\0');
  const std::string record = input.substr(0, cut);
  const std::string textData = cut == std::string::npos ? std::string() : fw::BytesToUtf8(input.substr(cut + 1));
  Check(IsStrictUtf8(textData), "TextData is not UTF-8 once read");

  std::string clear = record;
  ViewConst::DecryptStr(clear);
  Check(clear.size() == record.size(), "DecryptStr changed the length");
  Check(ViewConst::Encrypt(clear) == record, "Encrypt does not undo DecryptStr");

  OstrelStubWindow window;
  window.ParseData(clear, textData);
  Check(IsStrictUtf8(window.fExecuteAfterName) && IsStrictUtf8(window.fExecuteBeforeName),
        "a program name is not UTF-8");
  for (const std::string* text : {&window.fAgreement, &window.fInfo, &window.fPreInstallNotes,
                                  &window.fPostInstallNotes})
    Check(IsStrictUtf8(*text), "a long text of the record is not UTF-8");

  const int fields = std::min(ViewConst::CountFields(textData, kTextSeparator), kMostFields);
  for (int n = 1; n <= fields; ++n) CheckLongText(ViewConst::NthField(textData, kTextSeparator, n));

  CheckPicture(window.fLogoWidth, window.fLogoHeight, window.fLogoPixelStr);
  CheckPicture(window.fPictureWidth, window.fPictureHeight, window.fPicturePixelStr);
  CheckPicture(window.fBackgroundWidth, window.fBackgroundHeight, window.fBackgroundPixelStr);
  return 0;
}
