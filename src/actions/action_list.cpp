#include "actions/action_list.h"

#include "fileutil/view_const.h"
#include "framework/folder_item.h"
#include "framework/runtime.h"

namespace ostrel::actions {
namespace {

const std::string kUserAccount = "UserAccount/";
const std::string kInstallFolder = "InstallFolder/";
std::string gInstallFolder;  // empty until the target is known

}  // namespace

std::vector<ActionEntry> ParseActionList(const std::string& list) {
  std::vector<ActionEntry> entries;
  if (list.empty()) return entries;
  size_t start = 0;
  for (;;) {
    const size_t bar = list.find('|', start);
    const std::string entry = list.substr(start, bar == std::string::npos ? std::string::npos : bar - start);
    const size_t eq = entry.find('=');
    ActionEntry e;
    e.text = entry;
    e.key = entry.substr(0, eq);
    if (eq != std::string::npos) e.value = entry.substr(eq + 1, entry.find('=', eq + 1) - eq - 1);
    entries.push_back(std::move(e));
    if (bar == std::string::npos) break;
    start = bar + 1;
  }
  return entries;
}

std::string HomeFolderPath() { return fw::SpecialFolder(fw::SpecialFolderKind::Home).NativePath(); }

bool IsFullPathAfterMacro(const std::string& path) {
  return (!path.empty() && path[0] == '/') || ViewConst::Pos(kUserAccount, path) == 1 ||
         ViewConst::Pos(kInstallFolder, path) == 1;
}

std::string ExpandMacros(const std::string& path) {
  if (ViewConst::Pos(kUserAccount, path) == 1) return HomeFolderPath() + "/" + path.substr(kUserAccount.size());
  if (ViewConst::Pos(kInstallFolder, path) == 1 && !gInstallFolder.empty())
    return gInstallFolder + "/" + path.substr(kInstallFolder.size());
  return path;
}

void SetInstallFolder(const std::string& folder) {
  gInstallFolder = folder;
  while (gInstallFolder.size() > 1 && gInstallFolder.back() == '/') gInstallFolder.pop_back();
  fw::SetProgramEnvironment("OSTREL_INSTALL_FOLDER", gInstallFolder);
}

void SetSetupFolder(const std::string& folder) {
  fw::SetProgramEnvironment("OSTREL_SETUP_FOLDER", folder.empty() || folder.back() == '/' ? folder : folder + "/");
}

void ShowInstallError(const std::string& line) {
  fw::MsgBox("Install Error" + ViewConst::gLineBreak + ViewConst::gLineBreak + line);
}

}  // namespace ostrel::actions
