#include "bundler/action_list_check.h"

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

void CheckEntry(const actions::ActionEntry& entry) {
  const auto fail = [&entry](const std::string& why) {
    throw BadInput("the action \"" + entry.text + "\" " + why);
  };
  const std::string &key = entry.key, &value = entry.value;
  if (entry.text.empty()) fail("is empty: a stray \"|\" in the action list");
  if (entry.text.find('=', key.size() + 1) != std::string::npos)
    fail("holds a second \"=\": the installer reads the value only up to it");

  if (IsOneOf(key, {"preinstallcopy"})) {
    if (value.find(';') == std::string::npos) fail("needs \"source;destination\"");
    return;
  }
  if (key.empty() || value.empty()) fail("needs a key, \"=\" and a value");
  if (IsOneOf(key, {"delete", "preinstalldelete", "allusersfullaccess"}) && NamesRootOrHome(value))
    fail("would reach the root or the whole home folder; the installer refuses it");
  if (IsOneOf(key, {"delete", "shell", "shellfile", "createfolder", "preinstalldelete", "allusersfullaccess"}))
    return;
  // A copy, with its optional condition.
  if (value[0] == '[' && value.find(']') == std::string::npos) fail("opens \"[\" without its \"]\"");
  const size_t brace = value[0] == '[' ? value.find(']') + 1 : 0;
  if (value.compare(brace, 1, "{") == 0 && value.find('}', brace) == std::string::npos)
    fail("opens \"{\" without its \"}\"");
}

}  // namespace

void CheckActionList(const std::string& list) {
  for (const auto& entry : actions::ParseActionList(list)) CheckEntry(entry);
}

}  // namespace ostrel::bundler
