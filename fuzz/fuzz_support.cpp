#include "fuzz_support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#include "core/ostrel_stub_window.h"
#include "framework/testing/scratch_tree.h"

namespace ostrel::fuzz {

namespace fs = std::filesystem;

void QuickPlatform::DoEvents(int milliseconds) {
  ++doEventsCalls;
  const int64_t step = static_cast<int64_t>(milliseconds) * 60 / 1000;
  ticks += step > 0 ? step : 1;
  std::this_thread::yield();
}

namespace {

// Enough answers for any one input: more modal windows than this from one
// record or archive is itself worth a report (the scripted UI throws).
constexpr int kAnswersPerInput = 16;

Seams* MakeSeams() {
  auto* s = new Seams;  // lives until exit: the framework keeps pointers to it
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/ostrel-fuzz-XXXXXX";
  Check(mkdtemp(pattern.data()) != nullptr, "cannot make the scratch folder");
  s->scratch = fs::canonical(pattern);
  for (auto d : {"tmp", "home", "home/Desktop", "home/Applications", "usr"})
    fs::create_directories(s->scratch / "seams" / d);
  auto at = [s](const char* d) { return (s->scratch / "seams" / d).string(); };
  s->platform.folders = {
      {fw::SpecialFolderKind::Temporary, at("tmp")},
      {fw::SpecialFolderKind::Home, at("home")},
      {fw::SpecialFolderKind::Desktop, at("home/Desktop")},
      {fw::SpecialFolderKind::Applications, at("home/Applications")},
      {fw::SpecialFolderKind::System, at("usr")},
  };
  s->platform.facts = {{"ramm", 16000}, {"sys1", 16}, {"sys2", 1}};
  fw::Install(&s->platform, &s->ui);
  App().Event_Open();
  std::atexit([] { fw::testing::RemoveScratchTree(GetSeams().scratch); });
  return s;
}

}  // namespace

Seams& GetSeams() {
  static Seams* seams = MakeSeams();
  return *seams;
}

void Seams::Reset() {
  ui.answers.clear();
  for (int i = 0; i < kAnswersPerInput; ++i) ui.answers.push_back(fw::testing::ScriptedUI::PressDefault());
  ui.modals.clear();
  ui.messages.clear();
  platform.launches.clear();
  platform.urls.clear();
}

void Check(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "\n==FUZZ CHECK FAILED== %s\n", what.c_str());
  std::fflush(stderr);
  std::abort();
}

bool IsStrictUtf8(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    const auto c = static_cast<unsigned char>(s[i]);
    size_t n;
    uint32_t cp, min;
    if (c < 0x80) { ++i; continue; }
    if ((c & 0xE0) == 0xC0) { n = 1; cp = c & 0x1F; min = 0x80; }
    else if ((c & 0xF0) == 0xE0) { n = 2; cp = c & 0x0F; min = 0x800; }
    else if ((c & 0xF8) == 0xF0) { n = 3; cp = c & 0x07; min = 0x10000; }
    else return false;
    if (i + n >= s.size()) return false;  // cut short
    for (size_t k = 1; k <= n; ++k) {
      const auto t = static_cast<unsigned char>(s[i + k]);
      if ((t & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (t & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
    i += n + 1;
  }
  return true;
}

}  // namespace ostrel::fuzz
