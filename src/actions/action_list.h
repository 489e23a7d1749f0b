// The setup's action list, as both of its walks read it: entries split at
// "|", each a key and a value split at "=", and the one path macro the list
// knows.
#pragma once

#include <string>
#include <vector>

namespace ostrel::actions {

struct ActionEntry {
  std::string key;    // up to the first "="
  std::string value;  // between the first and a second "="; the rest is dropped
  std::string text;   // the whole entry as written
};

// The entries in list order; none for an empty list. A trailing "|" gives an
// empty last entry, as two "|" in a row give one between them.
std::vector<ActionEntry> ParseActionList(const std::string& list);

// The user's home folder, as the path macros use it.
std::string HomeFolderPath();

// "UserAccount/rest" (in any case) becomes the home folder, "/" and the rest;
// any other path is returned unchanged.
// A path with its macro expanded: "UserAccount/" the home folder,
// "InstallFolder/" the installation (once SetInstallFolder has named it).
std::string ExpandMacros(const std::string& path);
// Whether `path` is a full path once its macro is expanded: it begins with
// "/" or with a macro the action list knows.
bool IsFullPathAfterMacro(const std::string& path);
// The folder that received the target, with the target's own name (for a
// patch, the installation): for "InstallFolder/", and for launched programs
// and shell lines as OSTREL_INSTALL_FOLDER (no trailing "/").
void SetInstallFolder(const std::string& folder);
// The folder that holds the setup bundle, ending in "/": OSTREL_SETUP_FOLDER.
void SetSetupFolder(const std::string& folder);

// An application just copied to `dst` under the applications folder is
// moved out to the shared folder and back, so that the system registers it
// afresh. A `dst` that names no item (ending in "/") is left alone.
void BounceThroughSharedFolder(const std::string& dst);

// "Install Error", two line breaks and `line`, in a message box.
void ShowInstallError(const std::string& line);

}  // namespace ostrel::actions
