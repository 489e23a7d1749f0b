// A picture as the installer builds it: 8-bit RGB pixels, row by row from the
// top. Transparency mode 1 makes white pixels see-through when the picture
// is drawn over something else.
#pragma once

#include <cstdint>
#include <vector>

namespace fw {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb;  // width * height * 3 bytes
  int transparent = 0;

  Picture() = default;
  Picture(int w, int h) : width(w), height(h), rgb(static_cast<size_t>(w) * h * 3, 0) {}

  uint32_t Pixel(int x, int y) const {
    const uint8_t* p = &rgb[(static_cast<size_t>(y) * width + x) * 3];
    return (uint32_t{p[0]} << 16) | (uint32_t{p[1]} << 8) | p[2];
  }
  void SetPixel(int x, int y, uint32_t color) {
    uint8_t* p = &rgb[(static_cast<size_t>(y) * width + x) * 3];
    p[0] = static_cast<uint8_t>(color >> 16);
    p[1] = static_cast<uint8_t>(color >> 8);
    p[2] = static_cast<uint8_t>(color);
  }
};

}  // namespace fw
