// The module's globals and its one trace point.
#include <fstream>

#include "fileutil/view_const.h"
#include "framework/runtime.h"

namespace ViewConst {

// The application's open event assigns these before anything else runs; the
// line break starts out right so that code run before it (tests) agrees.
std::string gLineBreak = "\n";
std::mt19937 gRandom;
bool gIgnoreTranslocationError = false;
bool gDebugConsole = false;

void DebugConsole(const std::string& text) {
  if (!gDebugConsole) return;
  const std::string log = fw::SpecialFolder(fw::SpecialFolderKind::Desktop).Child("sorrelkinrt.log").NativePath();
  std::ofstream out(log, std::ios::binary | std::ios::app);
  if (!out) throw fw::IOException("cannot open the trace file " + log);
  out << text << '\n';
}

}  // namespace ViewConst
