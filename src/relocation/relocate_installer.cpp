// A split setup leaves the disc it started from: the bundle is copied to a
// numbered folder in the temporary folder, the copy is started with a marker
// beside it, and this process hands the installation over.
#include <sys/stat.h>

#include <cerrno>
#include <random>

#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "relocation/relocation_marker.h"

using namespace ViewConst;

// A run from inside the temporary folder: a relocated copy, or a setup
// that was downloaded and opened in place.
bool OstrelStubWindow::RunningRelocatedInstaller() {
  const std::string temporary = MyAbsolutePath(fw::SpecialFolder(fw::SpecialFolderKind::Temporary));
  return !temporary.empty() && Pos(temporary, GetApplicationPath()) > 0;
}

bool OstrelStubWindow::RelocateInstaller(const std::string& firstPiecePath) {
  if (RunningRelocatedInstaller()) return false;  // this run is the copy
  if (!FileExists(firstPiecePath)) return false;  // not a split setup

  // The bundle runs up to the first ".app" of the executable's path.
  const std::string executable = fw::ExecutableFile().NativePath();
  const int app = Pos(".app", executable);
  const int contents = Pos("/Contents", executable);
  const size_t end = app > 0 ? static_cast<size_t>(app - 1 + 4) : contents > 0 ? static_cast<size_t>(contents - 1) : 0;
  if (end == 0) return false;
  const std::string bundle = executable.substr(0, end);
  fSourceFolder = ExtractFilePath(bundle);
  fw::SetClipboardText(fSourceFolder);

  // A fresh numbered folder of our own: one that is there already (an
  // earlier run's) is not reused.
  const std::string temporary = MyAbsolutePath(fw::SpecialFolder(fw::SpecialFolderKind::Temporary));
  std::uniform_int_distribution<int> number(1000, 9999);
  std::string folder;
  for (int tries = 0; tries < 100 && folder.empty(); ++tries) {
    const std::string candidate = temporary + std::to_string(number(gRandom));
    if (mkdir(candidate.c_str(), 0700) == 0)
      folder = candidate;
    else if (errno != EEXIST)
      break;
  }
  if (folder.empty()) return true;

  // The marker is there before the copy starts; the copy runs the same
  // executable inside its own bundle.
  const std::string copy = folder + "/" + ExtractFileName(bundle);
  if (CopyFile(bundle, copy) && ostrel::WriteRelocationMarker(folder, {fSourceFolder, fChoiceAnswer, fOptionsAnswer}))
    fw::Launch(copy + executable.substr(bundle.size()), true);
  return true;
}
