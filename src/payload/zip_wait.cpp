// The wait for the main archive's expansion, and the removal of the archive.
#include <algorithm>

#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/expansion_wait.h"
#include "payload/zip/zip_opener.h"

namespace ostrel {

int64_t ExpansionWaitTicks(int64_t archiveLength, bool slowSystem) {
  int64_t ticks = (archiveLength / 3000000 + 1) * 30;
  if (slowSystem) ticks *= 2;
  if (archiveLength > 300000000)
    ticks = static_cast<int64_t>(static_cast<double>(ticks) / 4);
  else if (archiveLength > 30000000)
    ticks = static_cast<int64_t>(static_cast<double>(ticks) / 2);
  return ticks;
}

}  // namespace ostrel

namespace {

// The bar follows the real expansion, scaled to its maximum, and the wait
// ends the moment the expansion does.
void FollowExpansion(ostrel::ZipExpansionJob& job, fw::Control& bar, int64_t maximum) {
  for (;;) {
    const bool finished = job.Finished();  // read first: the counts are final once it is set
    const int64_t total = job.Total(), done = job.Done();
    bar.SetValue(total > 0 ? std::min(maximum, done * maximum / total) : 0);
    bar.Refresh();
    if (finished) break;
    fw::DoEvents(10);
  }
  job.Wait();
  bar.SetValue(maximum);
}

}  // namespace

void OstrelStubWindow::ZipFileProcess(const std::string&, const fw::FolderItem& item) {
  int64_t major = 0, minor = 0;
  const bool slow = fw::Gestalt("sys1", major) && fw::Gestalt("sys2", minor) && minor == 13;
  const int64_t ticks = ostrel::ExpansionWaitTicks(item.Length(), slow);
  ProgressBar1.SetMaximum(ticks);
  ProgressBar1.SetVisible(true);

  fExpansionError.clear();
  if (auto job = ostrel::ClaimZipExpansion(item.NativePath())) {
    FollowExpansion(*job, ProgressBar1, ticks);
    // ExpandFolder tells the user, and what became of the earlier installation.
    if (!job->Succeeded()) fExpansionError = job->Error();
    return;
  }

  // No expansion of ours to follow (nothing was there to open, or the system
  // opened it): the wait lasts as long as the formula says.
  const int64_t start = fw::Ticks();
  for (;;) {
    const int64_t elapsed = fw::Ticks() - start;
    ProgressBar1.SetValue(std::min(elapsed, ticks));
    ProgressBar1.Refresh();
    if (elapsed >= ticks) break;
    fw::DoEvents(10);
  }
}

void OstrelStubWindow::ZipFileDelete(const std::string& path, const std::optional<fw::FolderItem>& item) {
  if (item && item->Exists()) fw::Launch(item->NativePath(), true);
  // One try a second while the archive is still there after a try. A file
  // that cannot go (a folder in its place, a locked volume) is left behind
  // rather than holding the installation up for ever.
  const int64_t start = fw::Ticks();
  while (ViewConst::FileExists(path)) {
    ViewConst::AllUsersFullAccess(path);
    ViewConst::DeleteFile(path);
    if (!ViewConst::FileExists(path) || fw::Ticks() - start >= ostrel::kArchiveDeleteGiveUpTicks) break;
    ViewConst::Sleep(1);
  }
}
