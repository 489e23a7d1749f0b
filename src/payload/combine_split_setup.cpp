// A split setup's pieces joined into the working archive: Data#1 from the
// bundle, then Data#2, Data#3 ... and Data#End from the folder the setup came
// from, asking for the next disc whenever a piece is not there.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "core/ostrel_stub_window.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/piece_join.h"

namespace {

const char* const kNextDiscPrompt =
    "Insert next CD.  When you see the CD icon, click YES to continue or NO to quit.";

std::string PieceProblem(const std::string& name, const ostrel::PieceOutcome& outcome) {
  if (outcome.kind == ostrel::PieceOutcome::Damaged) return ostrel::DamagedFileMessage(name);
  return "The piece " + name + " could not be read: " + std::strerror(outcome.error) + ".";
}

// Puts the default pointer back however the joining ends, a quit included.
struct WaitCursor {
  WaitCursor() { fw::SetWaitCursor(true); }
  ~WaitCursor() {
    try {
      fw::SetWaitCursor(false);
    } catch (...) {
    }
  }
};

}  // namespace

bool OstrelStubWindow::SourceFolderIsCD(const std::string& folder) {
  return !folder.empty() && fw::FolderIsOnDisc(folder);
}

void OstrelStubWindow::EjectCD() { fw::EjectDisc(fSourceFolder); }

void OstrelStubWindow::CombineSplitSetup(const std::string& firstPiece, const std::string& archive) {
  // A relocated copy has its source folder from its marker already; the
  // clipboard carries it otherwise.
  if (fSourceFolder.empty()) fSourceFolder = fw::GetClipboardText();
  const std::string source = fSourceFolder;
  WaitCursor waiting;

  // The working archive is made anew, exclusively: a link put in its place
  // is not followed. One that cannot be made skips the joining.
  if (ViewConst::FileExists(archive)) ViewConst::DeleteFile(archive);
  if (archive.empty() || archive[0] != '/') return;
  const int out = open(archive.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (out < 0) return;
  auto giveUp = [&] {
    close(out);
    unlink(archive.c_str());
  };

  // The disc is asked about once: once ejected, the folder no longer shows it.
  const bool onDisc = SourceFolderIsCD(source);
  const ostrel::PayloadManifest manifest = ostrel::PayloadManifest::OfRunningBundle();
  uint64_t joined = 0;
  auto append = [&](const std::string& path, const std::string& name) {
    struct stat st;
    const uint64_t size = stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
    ProgressBar1.SetMaximum(static_cast<int64_t>(joined + size));
    ProgressBar1.SetVisible(true);
    const auto outcome = ostrel::AppendPiece(out, path, manifest.Find(name), [&](uint64_t bytes) {
      ProgressBar1.SetValue(static_cast<int64_t>(std::min(joined + bytes, joined + size)));
      ProgressBar1.Refresh();
    });
    if (outcome.kind == ostrel::PieceOutcome::Joined) joined += size;
    return outcome;
  };

  // The first piece lies in the bundle, and no other disc can stand in for it.
  const auto first = append(firstPiece, "Data#1");
  if (first.kind != ostrel::PieceOutcome::Joined) {
    fw::MsgBox(PieceProblem("Data#1", first));
    giveUp();
    return;
  }
  if (onDisc) EjectCD();

  for (int n = 2;;) {
    std::string name = "Data#" + std::to_string(n);
    // A numbered piece that is not there makes the last one the candidate;
    // one that the manifest lists is asked for instead, never passed over.
    const bool last = !ViewConst::FileExists(source + name) && !manifest.Find(name);
    if (last) name = "Data#End";
    const std::string path = source + name;
    if (ViewConst::FileExists(path)) {
      const auto outcome = append(path, name);
      if (outcome.kind == ostrel::PieceOutcome::Joined) {
        if (onDisc) EjectCD();
        if (last) break;
        ++n;
        continue;
      }
      if (outcome.kind == ostrel::PieceOutcome::WriteFailed) {
        fw::MsgBox("The working archive could not be written: " + std::string(std::strerror(outcome.error)) + ".");
        giveUp();
        return;
      }
      // Nothing of the bad piece was kept: the same piece is asked for again.
      fw::MsgBox(PieceProblem(name, outcome));
      if (onDisc) EjectCD();
    }
    if (!GlobalsKv::YesNoDlg(CustomLabel(kNextDiscPrompt, Label(16)))) {
      giveUp();
      fw::Quit(0);
    }
  }
  if (close(out) != 0) {
    fw::MsgBox("The working archive could not be written: " + std::string(std::strerror(errno)) + ".");
    unlink(archive.c_str());
  }
}
