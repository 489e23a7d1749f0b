// The path macros that name a launched program relative to places known
// only on the user's machine. Each macro that matches also tells the
// program, through the clipboard, where the setup stands.
#include <functional>

#include "actions/action_list.h"
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"

bool OstrelStubWindow::SpecialPath(std::string& path) {
  struct Macro {
    const char* prefix;
    std::function<std::string(const std::string& rest)> resolve;
  };
  const std::string setupFolder = ViewConst::GetApplicationPath();
  const Macro macros[] = {
      {"UserAccount/", [](const std::string& rest) { return ostrel::actions::HomeFolderPath() + "/" + rest; }},
      {"InstallFolder/", [this](const std::string& rest) { return fTargetFolder + "/" + rest; }},
      {"FixedPath/", [](const std::string& rest) { return rest; }},
      {"SetupFolder/", [&setupFolder](const std::string& rest) { return setupFolder + rest; }},
  };
  // One chain, not a choice: each test reads what the one before left, so
  // "FixedPath/SetupFolder/x" is resolved twice.
  bool found = false;
  for (const Macro& m : macros) {
    const std::string prefix = m.prefix;
    if (ViewConst::Pos(prefix, path) != 1) continue;
    const std::string rest = path.substr(prefix.size());
    // The setup's folder, not the resolved path, whatever the macro.
    fw::SetClipboardText(setupFolder + rest);
    path = m.resolve(rest);
    found = true;
  }
  return found;
}
