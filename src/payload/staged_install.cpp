#include "payload/staged_install.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "fileutil/view_const.h"
#include "framework/folder_item.h"
#include "framework/own_files.h"
#include "framework/runtime.h"
#include "payload/zip/zip_opener.h"

namespace ostrel {
namespace {

constexpr char kStageSuffix[] = "-stage";

bool Exists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}

std::string Join(const std::string& folder, const std::string& name) {
  return (folder == "/" ? "" : folder) + "/" + name;
}

// The stage of a run that is gone: each installation it had put aside goes
// back to its place, unless its successor is there already, whole.
void RecoverStage(const std::string& folder, const std::string& stage) {
  const bool whole = Exists(stage + "/whole");
  const fw::FolderItem old(stage + "/old");
  bool keep = false;
  for (int i = old.Count(); i >= 1; --i) {
    const auto item = old.TrueItem(i);
    if (!item) continue;
    const std::string name = item->Name(), target = Join(folder, name);
    if (whole && !Exists(stage + "/new/" + name) && Exists(target))
      ViewConst::DeleteFolderOrApp(item->NativePath());
    else if (fw::RenameNoReplace(item->NativePath(), target) != 0)
      keep = true;  // something else stands in its place now: not ours to decide
  }
  if (!keep) ViewConst::DeleteFolderOrApp(stage);
}

}  // namespace

bool IsPlainFolderName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.size() <= 255 &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

void RecoverLeftovers(const std::string& folder) {
  for (const std::string& item : fw::LeftOwnItems(folder)) {
    struct stat st;
    if (lstat(item.c_str(), &st) != 0) continue;
    if (S_ISDIR(st.st_mode))
      RecoverStage(folder, item);
    else
      unlink(item.c_str());  // a part file of a copy that never ended
  }
}

InstallStage::~InstallStage() {
  try {
    if (!IsOpen()) return;
    WaitForZipExpansions();  // nothing may still be writing into the stage
    RollBack();
  } catch (...) {
    // Whatever is left, the next run in this folder recovers.
  }
}

int InstallStage::Open(const std::string& folder, const std::string& name) {
  if (IsOpen()) return 0;
  const std::string stage = fw::CreateOwnFolder(folder, kStageSuffix);
  if (stage.empty()) return errno;
  if (mkdir((stage + "/new").c_str(), 0700) != 0) {
    const int error = errno;
    rmdir(stage.c_str());
    return error;
  }
  path_ = stage;
  name_ = name;
  return 0;
}

int InstallStage::PutAside(const std::string& target) {
  if (mkdir((path_ + "/old").c_str(), 0700) != 0 && errno != EEXIST) return errno;
  fw::FolderItem item(target);
  item.MoveFileTo(fw::FolderItem(path_ + "/old/" + item.Name()));
  if (item.LastErrorCode() != 0) return item.LastErrorCode();
  oldTarget_ = target;
  return 0;
}

int InstallStage::Commit(const std::string& expanded, const std::string& target) {
  // Marked first: a run killed after the rename below is known to have put
  // its new tree in place.
  const int mark = open((path_ + "/whole").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (mark < 0) return errno;
  close(mark);
  if (const int error = fw::RenameNoReplace(NewFolder() + "/" + expanded, target)) {
    unlink((path_ + "/whole").c_str());
    return error;
  }
  if (HasOld()) {
    fw::DoEvents(0);  // the window turns before a large old tree keeps the thread busy
    ViewConst::DeleteFolderOrApp(path_ + "/old/" + fw::FolderItem(oldTarget_).Name());
  }
  oldTarget_.clear();
  return 0;
}

bool InstallStage::RollBack() {
  ViewConst::DeleteFolderOrApp(NewFolder());
  unlink((path_ + "/whole").c_str());
  if (HasOld() && fw::RenameNoReplace(path_ + "/old/" + fw::FolderItem(oldTarget_).Name(), oldTarget_) != 0)
    return false;
  oldTarget_.clear();
  Close();
  return true;
}

void InstallStage::Close() {
  if (!IsOpen()) return;
  ViewConst::DeleteFolderOrApp(path_);
  path_.clear();
}

}  // namespace ostrel
