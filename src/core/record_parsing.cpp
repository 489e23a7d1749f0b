// Parsing the deciphered record into the fields of the main window. Nothing
// is validated: a damaged record gives fields of no meaning, never a crash.
#include <algorithm>
#include <climits>

#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/text.h"

namespace {

const char* const kDataSeparator = "$|~";
const char* const kTextSeparator = "|#|";

// A record number squeezed into an int: a huge value stays huge, not wrapped.
int ToInt(int64_t v) { return static_cast<int>(std::clamp<int64_t>(v, INT_MIN, INT_MAX)); }

int NumberField(const std::string& field) { return ToInt(ViewConst::Val(field)); }

bool BooleanField(const std::string& field) { return field == "1"; }

// A picture field is "pixels,width,height"; an empty field leaves size 0.
void PictureField(const std::string& field, std::string& pixels, int& width, int& height) {
  if (field.empty()) return;
  height = NumberField(ViewConst::NthField(field, ",", 3));
  width = NumberField(ViewConst::NthField(field, ",", 2));
  pixels = ViewConst::NthField(field, ",", 1);
}

std::vector<std::string> SplitLabels(const std::string& list) {
  std::vector<std::string> labels;
  size_t start = 0;
  for (size_t bar; (bar = list.find('|', start)) != std::string::npos; start = bar + 1)
    labels.push_back(list.substr(start, bar - start));
  labels.push_back(list.substr(start));
  return labels;
}

}  // namespace

void OstrelStubWindow::ParseData(const std::string& clearData, const std::string& textData) {
  auto data = [&](int n) { return ViewConst::NthField(clearData, kDataSeparator, n); };
  // Each field of TextData is UTF-8 when its bytes are, else MacRoman: one
  // field written by an older tool does not change how the others read.
  auto text = [&](int n) { return fw::BytesToUtf8(ViewConst::NthField(textData, kTextSeparator, n)); };

  // Data is MacRoman; the program names are paths, so they become UTF-8 here.
  fTimeStamp = data(1);
  fApplicationFolder = BooleanField(data(2));
  fExecuteAfterName = fw::BytesToUtf8(data(3));
  PictureField(data(4), fLogoPixelStr, fLogoWidth, fLogoHeight);
  PictureField(data(6), fPicturePixelStr, fPictureWidth, fPictureHeight);
  fPromptToReplace = BooleanField(data(7));
  fExecuteBeforeName = fw::BytesToUtf8(data(8));
  PictureField(data(9), fBackgroundPixelStr, fBackgroundWidth, fBackgroundHeight);
  fEncryptionLen = NumberField(data(10));
  fCenterMessage = BooleanField(data(11));

  fAgreement = ReadPlainOrHtmlText(text(1));
  fMessage = text(2);
  fURLActual = text(3);
  fURLDisplayed = text(4);
  fInfo = ReadPlainOrHtmlText(text(5));
  fLabels = SplitLabels(text(6));
  fTargetFolder = text(7);
  fCopyright = text(8);
  fWindowTitle = text(9);
  fInstallationPatch = BooleanField(text(13));
  fInstallChoices = text(22);
  fInstallOptions = text(23);
  fMinOS = text(24);
  fMinRAM = text(25);
  fCompletionURL = text(26);
  fPreInstallNotes = ReadPlainOrHtmlText(text(27));
  fPostInstallNotes = ReadPlainOrHtmlText(text(28));
  fPostCopy = text(29);
  fCleanup = NumberField(text(30));
}

// "|" is the line break of the long texts. A text marked "$HTML$" is UTF-16
// written out in hexadecimal, the marker standing at its start.
std::string OstrelStubWindow::ReadPlainOrHtmlText(const std::string& text) {
  if (ViewConst::Pos("$HTML$", text) > 0) {
    const std::string hex = text.size() > 6 ? text.substr(6) : std::string();
    return ViewConst::UnicodeFromHex(ViewConst::ReplaceAll(hex, "|", "\n"), true);
  }
  return ViewConst::ReplaceAll(text, "|", "\n");
}
