// From the window's open event to the main window waiting for a button:
// the gates that end a run early, then the window filled from the record.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "actions/action_list.h"
#include "core/ostrel_stub_window.h"
#include "core/pixel_pictures.h"
#include "dialogs/globals_kv.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "framework/text.h"
#include "relocation/relocation_marker.h"

namespace {

struct MinOSRow {
  const char* key;
  int major, minor;  // the lowest system that passes
  const char* message;
};

// Each key names the lowest release that passes. A 10.x key fires only on a
// 10.x system; an 11.x key fires on anything older than that release.
constexpr MinOSRow kMinOS[] = {
    {"MacOS10.10", 10, 10, "Mac OS X 10.10 or later is required."},
    {"MacOS10.11", 10, 11, "Mac OS X 10.11 or later is required."},
    {"MacOS10.12", 10, 12, "Mac OS X 10.12 or later is required."},
    {"MacOS10.13", 10, 13, "Mac OS X 10.13 or later is required."},
    {"MacOS10.14", 10, 14, "Mac OS X 10.14 or later is required."},
    {"MacOS10.15", 10, 15, "Mac OS X 10.15 or later is required."},
    {"MacOS11.0", 11, 0, "Mac OS X 11.0 or later is required."},
    {"MacOS11.1", 11, 1, "Mac OS X 11.1 or later is required."},
    {"MacOS11.2", 11, 2, "Mac OS X 11.2 or later is required."},
    {"MacOS11.3", 11, 3, "Mac OS X 11.3 or later is required."},
};

struct MinRAMRow {
  const char* key;
  int64_t megabytes;  // a gigabyte counts as 1000 megabytes
  const char* message;
};

constexpr MinRAMRow kMinRAM[] = {
    {"250MB", 250, "250 MB RAM is required."},     {"500MB", 500, "500 MB RAM is required."},
    {"1GB", 1000, "1 GB RAM is required."},        {"2GB", 2000, "2 GB RAM is required."},
    {"4GB", 4000, "4 GB RAM is required."},        {"8GB", 8000, "8 GB RAM is required."},
    {"16GB", 16000, "16 GB RAM is required."},     {"32GB", 32000, "32 GB RAM is required."},
};

bool SystemTooOld(const MinOSRow& row, int64_t major, int64_t minor) {
  if (row.major == 10) return major == 10 && minor < row.minor;
  return major < row.major || (major == row.major && minor < row.minor);
}

// A picture from the record, or nothing when the field is empty or the
// picture cannot be built (already reported to the user then).
std::shared_ptr<fw::Picture> RecordPicture(const std::string& pixels, int width, int height) {
  if (pixels.empty()) return nullptr;
  return ViewConst::PixelStringToPicture(width, height, pixels);
}

void ShowOnCanvas(fw::Control& canvas, const std::shared_ptr<fw::Picture>& picture) {
  if (!picture) return;
  picture->transparent = 1;  // white is see-through over the window
  canvas.SetBackdrop(picture);
  canvas.SetVisible(true);
}

}  // namespace

void OstrelStubWindow::Event_Open() {
  // Only a copy that a first process relocated, with its marker, goes on
  // from the temporary folder.
  if (RunningRelocatedInstaller() && !ostrel::AcceptRelocationMarker(*this)) {
    Hide();
    fw::MsgBox("Drag the installer out of the Downloads folder before running it.");
    fw::Quit(0);
  }
  // What the setup's programs and shell lines find in their environment.
  ostrel::actions::SetSetupFolder(ViewConst::GetApplicationPath());
  ostrel::actions::SetInstallFolder("");
  DoStartup();
}

void OstrelStubWindow::DoStartup() {
  MyProcessToTop();
  if (!CheckAdminAccount()) fw::Quit(0);
  if (!ReadData()) {
    fw::MsgBox(CustomLabel("Installation Failed", Label(13)));
    fw::Quit(0);
  }
  if (!CheckMinOSorRAM()) fw::Quit(0);

  // A relocated copy installs at once, without a window or the
  // before-program, with the answers the first process was given.
  if (fRelocatedCopy && RunningRelocatedInstaller()) {
    Hide();
    MyProcessToTop();
    InstallAndQuit(fChoiceAnswer, fOptionsAnswer);
  }
  if (!DoExecuteBefore()) fw::Quit(0);

  SetTitle(CustomLabel(Title(), fWindowTitle));
  if (!fInfo.empty()) InfoBtn.SetCaption(CustomLabel(InfoBtn.Caption(), Label(6)));
  QuitBtn.SetCaption(CustomLabel(QuitBtn.Caption(), Label(1)));
  InstallBtn.SetCaption(CustomLabel(InstallBtn.Caption(), Label(2)));

  if (!fCopyright.empty()) {
    CopyrightLabel.SetText(fCopyright);
    CopyrightLabel.SetVisible(true);
  }
  MessageLabel.SetText(fMessage);
  if (fCenterMessage) MessageLabel.SetCentered(true);

  ShowOnCanvas(PictureCanvas, RecordPicture(fPicturePixelStr, fPictureWidth, fPictureHeight));
  ShowOnCanvas(LogoCanvas, RecordPicture(fLogoPixelStr, fLogoWidth, fLogoHeight));
  if (auto background = RecordPicture(fBackgroundPixelStr, fBackgroundWidth, fBackgroundHeight))
    SetBackdrop(background);

  if (!fURLActual.empty() || !fURLDisplayed.empty()) {
    if (fURLDisplayed.empty()) fURLDisplayed = fURLActual;
    URLLabel.SetVisible(true);
    URLLabel.SetText(fURLDisplayed);
  }
  if (!fInfo.empty()) {
    InfoBtn.SetVisible(true);
    Refresh();
  }
}

// Whether the user may write to the applications folder stands for whether
// the account is an administrator's. The probe file goes again at once.
bool OstrelStubWindow::CheckAdminAccount() {
  const std::string path = ViewConst::MyAbsolutePath(ViewConst::GetApplicationFolder()) + "X.txt";
  auto probe = GlobalsKv::MyGetFolderItem(path);
  if (!probe) return false;

  // O_EXCL: a file of that name that is already there is someone else's and
  // is left alone; the folder's own permission answers then.
  const int fd = open(probe->NativePath().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd >= 0) {
    close(fd);
    if (probe->Exists()) {
      probe->Delete();
      return true;
    }
  } else if (errno == EEXIST && probe->Parent().IsWriteable()) {
    return true;
  }
  fw::MsgBox("Cannot Install" + ViewConst::gLineBreak + ViewConst::gLineBreak +
             "An Administrator account is required to run this installer.");
  return false;
}

bool OstrelStubWindow::CheckMinOSorRAM() {
  int64_t ram = 0, major = 0, minor = 0;
  if (!fw::Gestalt("ramm", ram)) ram = 0;
  if (!fw::Gestalt("sys1", major)) major = 0;
  else if (!fw::Gestalt("sys2", minor)) minor = 0;

  bool ok = true;
  for (const auto& row : kMinOS)
    if (fw::EqualsIgnoreCase(fMinOS, row.key) && SystemTooOld(row, major, minor)) {
      fw::MsgBox(row.message);
      ok = false;
    }
  for (const auto& row : kMinRAM)
    if (fw::EqualsIgnoreCase(fMinRAM, row.key) && ram < row.megabytes) {
      fw::MsgBox(row.message);
      ok = false;
    }
  return ok;
}

void OstrelStubWindow::MyProcessToTop() { fw::BringToFront(); }
