// What the fuzz targets share: the test seams installed once per process,
// a private scratch folder, and checks that abort with a message, so that a
// broken promise is reported as a crash with the input that caused it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "framework/testing/scripted_ui.h"
#include "framework/testing/virtual_platform.h"

namespace ostrel::fuzz {

// The virtual platform without its pause: a wait costs one tick and a yield,
// so that a loop that polls a worker thread stays quick.
class QuickPlatform : public fw::testing::VirtualPlatform {
 public:
  void DoEvents(int milliseconds) override;
};

// The seams of one fuzzing process. The scratch folder is private (0700),
// made when the seams are first asked for and removed at a normal exit.
struct Seams {
  QuickPlatform platform;
  fw::testing::ScriptedUI ui;
  std::filesystem::path scratch;

  // Before each input: every modal window that shows is answered with its
  // default button, and what the last input left behind is forgotten.
  void Reset();
};
Seams& GetSeams();

// Aborts with the message when the condition fails.
void Check(bool condition, const std::string& what);

// Strict UTF-8: shortest forms only, no surrogates, nothing past U+10FFFF.
bool IsStrictUtf8(std::string_view s);


}  // namespace ostrel::fuzz
