// Pictures carried as text: run expansion and decoding into RGB pixels.
// The text comes from a file that may be damaged, so every size is bounded
// before anything is allocated.
#include "core/pixel_pictures.h"

#include <cstring>

#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"

namespace {

// The most an expanded pixel text may hold: some 8 million pixels.
constexpr size_t kMaxExpanded = 50'000'000;
// Work between two turns of the event loop, in bytes written.
constexpr size_t kYieldEvery = size_t{1} << 16;
constexpr int kInsufficientRamMessage = 39;

// Adds up the length of the expansion without writing it.
struct MeasureSink {
  size_t total = 0;
  bool Literal(const char*, size_t n) { return Add(n); }
  bool Fill(char, size_t n) { return Add(n); }
  bool Add(size_t n) {
    if (n > kMaxExpanded - total) return false;
    total += n;
    return true;
  }
};

// Writes the expansion into a block sized beforehand by MeasureSink.
struct WriteSink {
  char* out;
  size_t written = 0, sinceYield = 0;
  bool Literal(const char* s, size_t n) {
    std::memcpy(out + written, s, n);
    return Advance(n);
  }
  bool Fill(char c, size_t n) {
    std::memset(out + written, c, n);
    return Advance(n);
  }
  bool Advance(size_t n) {
    written += n;
    sinceYield += n;
    if (sinceYield >= kYieldEvery) {
      sinceYield = 0;
      fw::DoEvents(0);
    }
    return true;
  }
};

// Walks the runs of a text that holds at least one "[": the literal head,
// then for each run its character repeated and the literal text up to the
// next run's own character. False for a group left open or a text that
// would grow past the limit.
template <class Sink>
bool WalkRuns(const std::string& s, size_t p, Sink& sink) {
  if (!sink.Literal(s.data(), p > 0 ? p - 1 : 0)) return false;
  for (;;) {
    const size_t q = s.find(']', p + 1);
    if (q == std::string::npos) return false;
    const int64_t count = ViewConst::Val(s.substr(p + 1, q - p - 1));
    if (p > 0 && count > 0) {
      if (static_cast<uint64_t>(count) > kMaxExpanded) return false;
      if (!sink.Fill(s[p - 1], static_cast<size_t>(count))) return false;
    }
    const size_t next = s.find('[', q + 1);
    if (next == std::string::npos) return sink.Literal(s.data() + q + 1, s.size() - q - 1);
    if (next > q + 2 && !sink.Literal(s.data() + q + 1, next - q - 2)) return false;
    p = next;
  }
}

std::shared_ptr<fw::Picture> ReportPictureFailure() {
  GlobalsKv::gConflictType = kInsufficientRamMessage;
  GlobalsKv::ShowConflictMessage();
  GlobalsKv::gConflictType = 0;
  return nullptr;
}

}  // namespace

namespace ViewConst {

void PixelStringExpand(std::string& text) {
  const size_t first = text.find('[');
  if (first == std::string::npos) return;

  MeasureSink measure;
  if (!WalkRuns(text, first, measure)) {
    text.clear();
    return;
  }
  std::string expanded(measure.total, '\0');
  WriteSink write{expanded.data()};
  WalkRuns(text, first, write);
  text = std::move(expanded);
}

std::shared_ptr<fw::Picture> PixelStringToPicture(int width, int height, std::string text) {
  if (text.empty()) return nullptr;
  std::shared_ptr<fw::Picture> picture;
  try {
    PixelStringExpand(text);
    if (width <= 0 || height <= 0) return ReportPictureFailure();
    const int64_t pixels = int64_t{width} * height;
    if (pixels > static_cast<int64_t>(kMaxExpanded / 6) || static_cast<size_t>(pixels) * 6 > text.size())
      return ReportPictureFailure();

    picture = std::make_shared<fw::Picture>(width, height);
    // Rows are 3 bytes a pixel with nothing between them, as in the text.
    const size_t rowBytes = static_cast<size_t>(width) * 3;
    size_t sinceYield = 0;
    for (int y = 0; y < height; ++y) {
      const size_t at = static_cast<size_t>(y) * rowBytes;
      ViewConst::MemoryBlockHexToByte(text.data() + 2 * at, picture->rgb.data() + at, rowBytes);
      sinceYield += rowBytes;
      if (sinceYield >= kYieldEvery) {
        sinceYield = 0;
        fw::DoEvents(0);
      }
    }
  } catch (const std::bad_alloc&) {
    return ReportPictureFailure();
  } catch (const std::length_error&) {
    return ReportPictureFailure();
  }
  return picture;
}

}  // namespace ViewConst
