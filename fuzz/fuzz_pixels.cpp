// Pixel-string pictures: the first two bytes are the width and the height,
// each a signed byte, so that zero and negative sizes are tried as well;
// the rest is the pixel text.
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/pixel_pictures.h"
#include "fuzz_support.h"

using ostrel::fuzz::Check;

namespace {

constexpr size_t kMostExpanded = 50'000'000;

void CheckExpand(const std::string& text) {
  std::string expanded = text;
  ViewConst::PixelStringExpand(expanded);
  if (text.find('[') == std::string::npos) {
    Check(expanded == text, "a text without runs changed");
    return;
  }
  Check(expanded.size() <= kMostExpanded, "the expansion passed its limit");
  // Each "[" opens a group that the expansion consumes; none can survive.
  Check(expanded.find('[') == std::string::npos, "the expansion kept a \"[\"");
  const std::string again = expanded;
  ViewConst::PixelStringExpand(expanded);
  Check(expanded == again, "expanding twice changed the text");
}

void CheckPicture(int width, int height, const std::string& text) {
  auto& ui = ostrel::fuzz::GetSeams().ui;
  auto picture = ViewConst::PixelStringToPicture(width, height, text);
  if (text.empty()) {
    Check(!picture && ui.modals.empty(), "an empty text gave a picture or a message");
    return;
  }
  if (!picture) {
    Check(ui.modals.size() == 1, "a picture failed without its one message");
    return;
  }
  Check(ui.modals.empty(), "a message showed for a picture that was built");
  Check(width > 0 && height > 0, "a picture was built for a size of zero or less");
  Check(picture->width == width && picture->height == height, "the picture has another size");
  Check(picture->rgb.size() == static_cast<size_t>(width) * height * 3, "the picture's pixels are short");
  std::string expanded = text;
  ViewConst::PixelStringExpand(expanded);
  Check(expanded.size() >= static_cast<size_t>(width) * height * 6, "a picture was built from a short text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  ostrel::fuzz::GetSeams().Reset();
  const int width = static_cast<int8_t>(data[0]);
  const int height = static_cast<int8_t>(data[1]);
  const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
  CheckExpand(text);
  CheckPicture(width, height, text);
  return 0;
}
