#include "bundler/action_list_check.h"

#include <filesystem>

#include "actions/action_list.h"
#include "bundler/setup_description.h"
#include "framework/text.h"

namespace ostrel::bundler {
namespace {

bool IsOneOf(const std::string& key, std::initializer_list<const char*> keywords) {
  for (const char* k : keywords)
    if (fw::EqualsIgnoreCase(key, k)) return true;
  return false;
}

// "/" or "UserAccount/" alone: the root or the whole home folder.
bool NamesRootOrHome(std::string path) {
  while (!path.empty() && path.back() == '/') path.pop_back();
  return path.empty() || fw::EqualsIgnoreCase(path, "UserAccount");
}

void CheckEntry(const actions::ActionEntry& entry, const std::string& payloadFolder) {
  const auto fail = [&entry](const std::string& why) {
    throw BadInput("the action \"" + entry.text + "\" " + why);
  };
  const std::string &key = entry.key, &value = entry.value;
  if (entry.text.empty()) fail("is empty: a stray \"|\" in the action list");
  if (entry.text.find('=', key.size() + 1) != std::string::npos)
    fail("holds a second \"=\": the installer reads the value only up to it");

  const auto fullPath = [&](const std::string& path, bool macro) {
    if (macro ? !actions::IsFullPathAfterMacro(path) : (path.empty() || path[0] != '/'))
      fail("names \"" + path + "\", which is no full path" +
           (macro ? std::string(" (a path begins with \"/\", \"UserAccount/\" or \"InstallFolder/\")") : std::string()) +
           "; the installer would fail this action");
  };
  if (IsOneOf(key, {"preinstallcopy"})) {
    if (value.find(';') == std::string::npos) fail("needs \"source;destination\"");
    // Taken as written, before anything is installed: no macro.
    fullPath(value.substr(0, value.find(';')), false);
    fullPath(value.substr(value.find(';') + 1), false);
    return;
  }
  if (key.empty() || value.empty()) fail("needs a key, \"=\" and a value");
  if (IsOneOf(key, {"delete", "preinstalldelete", "allusersfullaccess"}) && NamesRootOrHome(value))
    fail("would reach the root or the whole home folder; the installer refuses it");
  if (IsOneOf(key, {"shell", "shellfile"})) return;
  if (IsOneOf(key, {"preinstalldelete"})) return fullPath(value, false);
  if (IsOneOf(key, {"delete", "createfolder", "allusersfullaccess"})) return fullPath(value, true);
  // Any other key is a copy of the installed item of that name, with its
  // optional conditions: a typo in a keyword lands here too.
  if (value[0] == '[' && value.find(']') == std::string::npos) fail("opens \"[\" without its \"]\"");
  const size_t brace = value[0] == '[' ? value.find(']') + 1 : 0;
  if (value.compare(brace, 1, "{") == 0 && value.find('}', brace) == std::string::npos)
    fail("opens \"{\" without its \"}\"");
  // "[path]" and "{path}" name full paths; "{path}" is then the destination
  // too, else what follows "]".
  if (brace > 0) fullPath(value.substr(1, brace - 2), true);
  if (value.compare(brace, 1, "{") == 0)
    fullPath(value.substr(brace + 1, value.find('}', brace) - brace - 1), true);
  else
    fullPath(value.substr(brace), true);
  std::error_code ec;
  if (!payloadFolder.empty() && !std::filesystem::exists(std::filesystem::path(payloadFolder) / key, ec))
    fail("copies \"" + key + "\", which is neither an action's keyword nor an item of the payload");
}

}  // namespace

void CheckActionList(const std::string& list, const std::string& payloadFolder) {
  for (const auto& entry : actions::ParseActionList(list)) CheckEntry(entry, payloadFolder);
}

}  // namespace ostrel::bundler
