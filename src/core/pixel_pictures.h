// Pictures carried as text in the setup record: 6 hexadecimal characters a
// pixel, with runs written as a character and a count in brackets.
#pragma once

#include <memory>
#include <string>

#include "framework/picture.h"

namespace ViewConst {
// No picture for an empty text, or when the picture cannot be built (the
// failure is reported to the user).
std::shared_ptr<fw::Picture> PixelStringToPicture(int width, int height, std::string text);
// Expands the runs in place. A text whose expansion would pass 50,000,000
// bytes, or that leaves a group open, becomes empty.
void PixelStringExpand(std::string& text);
}  // namespace ViewConst
