// Pictures as the setup record carries them: 6 upper-case hexadecimal
// characters a pixel, rows from the top, with runs of one character written
// as the character and its count in brackets ("F[12]").
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

struct PixelPicture {
  std::string pixels;  // compressed pixel text
  int width = 0, height = 0;
};

// Writes every run of one character that is long enough to gain by it as
// "C[count]"; everything else stays literal.
std::string CompressRuns(const std::string& hex);

// The expanded pixel text of RGB bytes, 3 a pixel.
std::string HexFromRgb(const std::vector<uint8_t>& rgb);

// Reads a PNG (or any picture format Qt reads); transparent pixels are laid
// over white, since the record has no alpha. Throws BadInput when unreadable.
PixelPicture PictureFromPng(const std::string& path);

// The record field "pixels,width,height" of a picture, empty for none.
// `what` names the picture in errors.
std::string PictureField(const PictureSource& source, const std::string& what);

}  // namespace ostrel::bundler
