// Turning pictures into pixel texts. The installer's expander takes the
// character just before each "[" as the run's character and copies what lies
// between two runs literally, so a run is always written with its own
// character in front and the literal text never holds a bracket.
#include "bundler/pixel_strings.h"

#include <QImage>
#include <QString>

#include "core/pixel_pictures.h"

namespace ostrel::bundler {
namespace {

// The installer refuses a picture whose expanded text is longer than this.
constexpr int64_t kMaxExpandedText = 50'000'000;

size_t DecimalDigits(size_t n) {
  size_t d = 1;
  for (; n >= 10; n /= 10) ++d;
  return d;
}

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

void CheckSize(int64_t width, int64_t height, const std::string& what) {
  if (width <= 0 || height <= 0) throw BadInput(what + ": a picture needs a width and a height above 0");
  if (width * height * 6 > kMaxExpandedText)
    throw BadInput(what + ": the picture is too large for the installer (" + std::to_string(width) + "x" +
                   std::to_string(height) + "; at most " + std::to_string(kMaxExpandedText / 6) + " pixels)");
}

// A pixel text given as it is: hexadecimal digits and well-formed runs that
// expand to exactly the picture's size.
void CheckPixelText(const PictureSource& s, const std::string& what) {
  CheckSize(s.width, s.height, what);
  bool inCount = false;
  for (size_t i = 0; i < s.pixels.size(); ++i) {
    const char c = s.pixels[i];
    if (inCount) {
      if (c == ']') inCount = false;
      else if (c < '0' || c > '9') throw BadInput(what + ": a run's count holds something other than digits");
    } else if (c == '[') {
      if (i == 0 || !IsHexDigit(s.pixels[i - 1]))
        throw BadInput(what + ": every \"[\" must follow the hexadecimal digit it repeats");
      inCount = true;
    } else if (!IsHexDigit(c)) {
      throw BadInput(what + ": a pixel text holds only the digits 0-9, A-F and runs such as F[12]");
    }
  }
  if (inCount) throw BadInput(what + ": a run is not closed by \"]\"");
  std::string expanded = s.pixels;
  ViewConst::PixelStringExpand(expanded);
  const int64_t wanted = int64_t{s.width} * s.height * 6;
  if (static_cast<int64_t>(expanded.size()) != wanted)
    throw BadInput(what + ": the pixel text expands to " + std::to_string(expanded.size()) +
                   " characters, but " + std::to_string(s.width) + "x" + std::to_string(s.height) +
                   " pixels need " + std::to_string(wanted));
}

}  // namespace

std::string CompressRuns(const std::string& hex) {
  std::string out;
  out.reserve(hex.size() / 2);
  for (size_t i = 0; i < hex.size();) {
    size_t j = i + 1;
    while (j < hex.size() && hex[j] == hex[i]) ++j;
    const size_t n = j - i;
    // "C[n]" costs 3 characters and the count's digits.
    if (3 + DecimalDigits(n) < n) {
      out += hex[i];
      out += '[';
      out += std::to_string(n);
      out += ']';
    } else {
      out.append(n, hex[i]);
    }
    i = j;
  }
  return out;
}

std::string HexFromRgb(const std::vector<uint8_t>& rgb) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string hex;
  hex.reserve(rgb.size() * 2);
  for (uint8_t b : rgb) {
    hex += kDigits[b >> 4];
    hex += kDigits[b & 15];
  }
  return hex;
}

PixelPicture PictureFromPng(const std::string& path) {
  QImage image;
  if (!image.load(QString::fromStdString(path)))
    throw BadInput("cannot read the picture " + path + " (missing, or not a PNG file)");
  CheckSize(image.width(), image.height(), path);
  // Straight (not premultiplied) alpha, so that each pixel can be laid over white.
  const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
  std::vector<uint8_t> rgb;
  rgb.reserve(static_cast<size_t>(argb.width()) * argb.height() * 3);
  for (int y = 0; y < argb.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
    for (int x = 0; x < argb.width(); ++x) {
      const int a = qAlpha(line[x]);
      for (int c : {qRed(line[x]), qGreen(line[x]), qBlue(line[x])})
        rgb.push_back(static_cast<uint8_t>((c * a + 255 * (255 - a) + 127) / 255));
    }
  }
  return {CompressRuns(HexFromRgb(rgb)), argb.width(), argb.height()};
}

std::string PictureField(const PictureSource& source, const std::string& what) {
  if (source.Empty()) return {};
  PixelPicture p;
  if (!source.pngPath.empty()) {
    p = PictureFromPng(source.pngPath);
  } else {
    CheckPixelText(source, what);
    p = {source.pixels, source.width, source.height};
  }
  return p.pixels + "," + std::to_string(p.width) + "," + std::to_string(p.height);
}

}  // namespace ostrel::bundler
