// An option's archive fetched from a URL. The body streams into a hidden
// file of the stub's own beside the destination, which never replaces or
// deletes anything that was there; the file is gone again whatever happens.
#include <fcntl.h>
#include <unistd.h>

#include "choices/choice_entries.h"
#include "choices/choice_folders.h"
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "http/http_client.h"

namespace {

constexpr int kTimeoutSeconds = 60;
constexpr int64_t kSmallestSetup = 10000;
constexpr int kTries = 2;
// Room for the hidden name's dot and unique ending within a file name's 255 bytes.
constexpr size_t kLongestNamePart = 200;

class DownloadFile {
 public:
  ~DownloadFile() { Remove(); }

  // A new, empty, private file ".<name>.XXXXXX" in `folder`.
  bool Create(const std::string& folder, const std::string& name) {
    Remove();
    std::string pattern = folder + ViewConst::GetPathSeparator() + "." + name.substr(0, kLongestNamePart) + ".XXXXXX";
    const int fd = mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0) return false;
    close(fd);
    path_ = pattern;
    return true;
  }
  void Remove() {
    if (!path_.empty()) unlink(path_.c_str());
    path_.clear();
  }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

// `staged` told the original which folder to rename after an expansion that
// lands beside its archive. The in-process expander writes into `folder`
// itself, so there is nothing to rename, and renaming whatever stands at the
// archive's name without its extension would touch the user's own item.
bool OstrelStubWindow::DownloadURL(const std::string& url, const std::string& fileName, const std::string& folder,
                                   bool /*staged*/, const std::string& pin) {
  if (fileName.empty()) {
    fw::MsgBox("Setup file download failed.");
    return false;
  }
  const std::string beside = ViewConst::MyExtractFilePath(folder);
  auto showProgress = [this](int64_t received, int64_t length) {
    ProgressBar1.SetVisible(true);
    ProgressBar1.SetMaximum(length > 0 ? length : 0);
    ProgressBar1.SetValue(received);
  };

  DownloadFile file;
  for (int attempt = 1;; ++attempt) {
    if (!file.Create(beside, fileName)) {
      fw::MsgBox("Install of download failed.  Check account permissions.");
      return false;
    }
    const auto answer = GlobalsKv::HttpGetToFile(url, kTimeoutSeconds, file.Path(), showProgress);
    if (!answer.stored) {
      fw::MsgBox("Install of download failed.  Check account permissions.");
      return false;
    }
    const bool whole = answer.length >= kSmallestSetup;
    const bool damaged = whole && !ostrel::ArchiveMatchesPin(pin, file.Path());
    if (whole && !damaged) break;
    file.Remove();
    // A download that broke off or came damaged gets one more try; one the
    // server refused or never answered does not (a dead server costs one
    // minute, not two).
    if (attempt == kTries || answer.refusedOrTimedOut) {
      fw::MsgBox(damaged ? ostrel::DamagedArchiveMessage(fileName) : "Setup file download failed.");
      return false;
    }
  }
  return ostrel::ExpandArchiveInto(file.Path(), folder, false);
}
