// The installer's main window and the whole state of one run. The setup
// record fills the fields; the methods are the installer's logic, each defined
// in the folder of the subsystem it belongs to.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "framework/folder_item.h"
#include "framework/window.h"

class OstrelStubWindow : public fw::Window {
 public:
  OstrelStubWindow();

  // --- The setup record, in its order of declaration (core/read_data.cpp).
  std::string fExecuteAfterName;
  std::string fAgreement;
  bool fApplicationFolder = false;
  std::string fLogoPixelStr;
  std::string fMessage;
  std::string fPicturePixelStr;
  std::string fURLActual;
  int fLogoWidth = 0, fLogoHeight = 0;
  int fPictureWidth = 0, fPictureHeight = 0;
  std::string fURLDisplayed;
  std::string fTimeStamp;
  bool fPromptToReplace = false;
  std::vector<std::string> fLabels;
  std::string fInfo;
  std::string fTargetFolder;
  std::string fExecuteBeforeName;
  std::string fBackgroundPixelStr;
  int fBackgroundHeight = 0, fBackgroundWidth = 0;
  int fEncryptionLen = 0;
  std::string fCopyright;
  std::string fWindowTitle;
  bool fCenterMessage = false;
  bool fInstallationPatch = false;
  std::string fInstallChoices;
  std::string fInstallOptions;
  std::string fMinOS;
  std::string fMinRAM;
  std::string fCompletionURL;
  std::string fPreInstallNotes;
  std::string fPostInstallNotes;
  std::string fPostCopy;
  int fCleanup = 0;

  // --- Relocation of a split setup (relocation/, payload/).
  // The answers of the choice and option dialogs, handed to a relocated copy.
  std::string fChoiceAnswer;
  std::string fOptionsAnswer;
  // The folder that the pieces of a split setup come from, with its "/".
  std::string fSourceFolder;
  // This process is a copy that a first process relocated, with its marker.
  bool fRelocatedCopy = false;
  // --- The main installation's outcome (payload/). ZipFileProcess leaves why
  // the archive could not be expanded, empty when it was. ExpandFolder sets
  // fInstallationFailed when it did not install (it failed, or the user said
  // no to the folder or the replace); the run then ends there,
  // without the choices, the actions or the clean-up.
  std::string fExpansionError;
  bool fInstallationFailed = false;

  // --- Controls.
  fw::Control& QuitBtn;
  fw::Control& InstallBtn;
  fw::Control& MessageLabel;
  fw::Control& ProgressBar1;
  fw::Control& URLLabel;
  fw::Control& PictureCanvas;
  fw::Control& LogoCanvas;
  fw::Control& CopyrightLabel;
  fw::Control& InfoBtn;

  // The menu bar of the application and the window: File > Quit, and the
  // edit items. No menu bar shows; the shortcuts work all the same.
  fw::MenuBar MenuBar1;

  // The custom label at `index`, or empty past the end of the list.
  std::string Label(size_t index) const;
  static std::string CustomLabel(const std::string& defaultText, const std::string& customText);

  // --- Setup record (core/read_data.cpp).
  bool ReadData();
  void ParseData(const std::string& clearData, const std::string& textData);
  static std::string ReadPlainOrHtmlText(const std::string& text);

  // --- Startup and main window (core/startup.cpp, core/main_window.cpp).
  void Event_Open();
  void DoStartup();
  bool CheckAdminAccount();
  bool CheckMinOSorRAM();
  bool RunningRelocatedInstaller();
  void MyProcessToTop();
  void ShowInstallinProgress();
  void QuitBtn_Action();
  void InstallBtn_Action();
  void InfoBtn_Action();
  bool URLLabel_MouseDown(int x, int y);
  bool Event_CancelClose();

  // --- Install flow (core/install_flow.cpp).
  void OKBtnClicked();
  // The installation with the user's answers, and the end of the run: the
  // choices, options and clean-up follow only a main installation that stood.
  [[noreturn]] void InstallAndQuit(const std::string& choices, const std::string& options);
  void InfoBtnClicked();
  std::string SelectTargetFolder(const std::string& startPath, bool emptyOnCancel);

  // --- Payload (payload/).
  void ExpandFolder();
  void ZipFileProcess(const std::string& path, const fw::FolderItem& item);
  void ZipFileDelete(const std::string& path, const std::optional<fw::FolderItem>& item);
  void CombineSplitSetup(const std::string& firstPiece, const std::string& archive);
  bool SourceFolderIsCD(const std::string& folder);
  void EjectCD();
  void ApplyInstallationPatch();
  void ApplyPatchFolder(const std::optional<fw::FolderItem>& folder, const std::string& subPath,
                        const std::string& targetRoot);

  // --- Choices and options (choices/).
  bool SelectChoiceAndOptions(std::string& choices, std::string& options);
  void ExpandChoiceAndOptions(const std::string& choices, const std::string& options);

  // --- HTTP (http/).
  // Fetches the archive at `url` beside `folder`, checks it against `pin`
  // (the entry's fifth sub-field), expands it into `folder` and removes it.
  bool DownloadURL(const std::string& url, const std::string& fileName, const std::string& folder, bool staged,
                   const std::string& pin = std::string());

  // --- Scripted actions (actions/).
  bool DoExecuteBefore();
  void PreInstallCopy();
  void PostInstallCopy();
  bool SpecialPath(std::string& path);
  bool CommunicateWithExecutable();
  void DoShellCmd(const std::string& command);
  void DoShellFile(const std::string& name);
  void Cleanup();

  // --- Relocation (relocation/).
  bool RelocateInstaller(const std::string& firstPiecePath);
};

// The application object: sets the module globals before the window exists.
class App {
 public:
  void Event_Open();
};
