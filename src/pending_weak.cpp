// TEMPORARY while the subsystems are written in parallel: weak definitions of
// every declared operation, so that the tree links before all of them exist.
// A real definition anywhere overrides its weak twin. Deleted before release.
#include <stdexcept>

#include "core/ostrel_stub_window.h"
#include "core/pixel_pictures.h"
#include "dialogs/document_dialogs.h"
#include "dialogs/globals_kv.h"
#include "dialogs/message_modal.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"

#define W __attribute__((weak))
#define NB { throw std::logic_error(std::string("not built yet: ") + __func__); }

namespace ViewConst {
W std::string GetPathSeparator() NB
W std::string ExtractFilePath(const std::string&) NB
W std::string MyExtractFilePath(const std::string&) NB
W std::string ExtractFileName(const std::string&) NB
W std::string ExtractFileExt(const std::string&) NB
W std::string ChangeFileExt(const std::string&, const std::string&) NB
W void DropTrailingPathSeparator(std::string&) NB
W std::string DirectoryPathExtract(const std::string&, int) NB
W std::string MyAbsolutePath(const std::optional<fw::FolderItem>&) NB
W std::string MyAbsolutePath(const fw::FolderItem&) NB
W std::string GetApplicationPath() NB
W fw::FolderItem GetApplicationFolder() NB
W int Pos(const std::string&, const std::string&) NB
W int PosAfter(const std::string&, const std::string&, int, bool) NB
W bool NonCaseMatch(const std::string&, const std::string&) NB
W int FindField(const std::string&, const std::string&, const std::string&) NB
W std::string NthField(const std::string&, const std::string&, int) NB
W int CountFields(const std::string&, const std::string&) NB
W std::string ReplaceCh1WithCh2(const std::string&, const std::string&, const std::string&) NB
W std::string ReplaceAll(const std::string&, const std::string&, const std::string&) NB
W std::string FillString(const std::string&, int) NB
W int64_t Val(const std::string&) NB
W void DebugConsole(const std::string&) NB
W void DecryptStr(std::string&) NB
W std::string Encrypt(const std::string&) NB
W std::string UnicodeFromHex(const std::string&, bool) NB
W std::string LineEndingEncoding(const std::string&) NB
W void MemoryBlockHexToByte(const char*, uint8_t*, size_t) NB
W void DataFileRead(const std::string&, std::string&) NB
W void DataFileWrite(const std::string&, const std::string&) NB
W bool DirectoryExists(const std::string&) NB
W bool FileExists(const std::string&) NB
W void DeleteFile(const std::string&) NB
W void Sleep(int) NB
W bool RenameFile(const std::string&, const std::string&) NB
W void ForceDirectories(const std::string&, bool) NB
W void DeleteFolderOrApp(const std::string&) NB
W bool CopyFolder(const std::string&, const std::string&) NB
W bool CopyFile(const std::string&, const std::string&) NB
W bool CopyFileB(const std::string&, const std::string&) NB
W void AllUsersFullAccess(const std::string&) NB
W void AllUsersFullAccessOnMac(const std::optional<fw::FolderItem>&) NB
W void SetInvisible(const std::string&) NB
W bool YesNoDialog(int) NB
W void MessageModalStartSize(MessageModal&, const std::string&) NB
W void MessageModalEndSize(MessageModal&, const std::string&) NB
W void ModalScriptShow(fw::Window&) NB
W void DoShowModal(fw::Window&) NB
W void EncryptDecryptFileEnd(const std::string&, bool) NB
W bool ZipFileToFolder(const std::string&, const std::string&, bool) NB
W std::shared_ptr<fw::Picture> PixelStringToPicture(int, int, std::string) NB
W void PixelStringExpand(std::string&) NB
}  // namespace ViewConst

namespace GlobalsKv {
W std::optional<fw::FolderItem> MyGetFolderItem(const std::string&) NB
W std::string MyGetString(int) NB
W bool YesNoDlg(const std::string&) NB
W void ShowConflictMessage() NB
}  // namespace GlobalsKv

namespace ostrel {
W void RegisterZipOpener() NB
}

W MessageModal::MessageModal() : fw::Window("", 0, 0), Btn1(Add(fw::ControlKind::PushButton, "", {})), Btn2(Btn1), Btn3(Btn1), MessageText(Btn1) NB
W MessageModal& MessageModal::Shared() NB
W void MessageModal::Btn1_Action() NB
W void MessageModal::Btn2_Action() NB
W void MessageModal::Btn3_Action() NB
W YesNoDialog::YesNoDialog() : fw::Window("", 0, 0), OKBtn(Add(fw::ControlKind::PushButton, "", {})), CancelBtn(OKBtn), ConfirmLabel1(OKBtn), ConfirmLabel2(OKBtn), ConfirmLabel3(OKBtn) NB
W LicenseAgreementWindow::LicenseAgreementWindow() : fw::Window("", 0, 0), AgreementEdit(Add(fw::ControlKind::PushButton, "", {})), QuitBtn(AgreementEdit), OKBtn(AgreementEdit) NB
W void LicenseAgreementWindow::QuitBtn_Action() NB
W void LicenseAgreementWindow::OKBtn_Action() NB
W THtmlNotesDlg::THtmlNotesDlg() : fw::Window("", 0, 0), MyHTMLViewer(Add(fw::ControlKind::PushButton, "", {})), ContinueBtn(MyHTMLViewer), QuitBtn(MyHTMLViewer) NB
W void THtmlNotesDlg::ContinueBtn_Action() NB
W void THtmlNotesDlg::QuitBtn_Action() NB

W bool OstrelStubWindow::ReadData() NB
W void OstrelStubWindow::ParseData(const std::string&, const std::string&) NB
W std::string OstrelStubWindow::ReadPlainOrHtmlText(const std::string&) NB
W void OstrelStubWindow::Event_Open() NB
W void OstrelStubWindow::DoStartup() NB
W bool OstrelStubWindow::CheckAdminAccount() NB
W bool OstrelStubWindow::CheckMinOSorRAM() NB
W bool OstrelStubWindow::RunningRelocatedInstaller() NB
W void OstrelStubWindow::MyProcessToTop() NB
W void OstrelStubWindow::OKBtnClicked() NB
W void OstrelStubWindow::InfoBtnClicked() NB
W std::string OstrelStubWindow::SelectTargetFolder(const std::string&, bool) NB
W void OstrelStubWindow::ExpandFolder() NB
W void OstrelStubWindow::ZipFileProcess(const std::string&, const fw::FolderItem&) NB
W void OstrelStubWindow::ZipFileDelete(const std::string&, const std::optional<fw::FolderItem>&) NB
W void OstrelStubWindow::CombineSplitSetup(const std::string&, const std::string&) NB
W void OstrelStubWindow::ApplyInstallationPatch() NB
W bool OstrelStubWindow::SelectChoiceAndOptions(std::string&, std::string&) NB
W void OstrelStubWindow::ExpandChoiceAndOptions(const std::string&, const std::string&) NB
W bool OstrelStubWindow::DoExecuteBefore() NB
W void OstrelStubWindow::PreInstallCopy() NB
W void OstrelStubWindow::PostInstallCopy() NB
W bool OstrelStubWindow::SpecialPath(std::string&) NB
W bool OstrelStubWindow::CommunicateWithExecutable() NB
W void OstrelStubWindow::Cleanup() NB
W bool OstrelStubWindow::RelocateInstaller(const std::string&) NB
