// A fixture for tests of the real stub binary inside a built bundle: a
// sandbox, a private Xvfb, the bundle, and the stub started with a home and
// temporary folder of the sandbox's own. Screenshots of every window go to
// <build>/gui-screenshots/<test name>/.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "bundler/setup_description.h"
#include "support/sandbox.h"
#include "support/snapshot.h"
#include "support/x_session.h"

namespace ostrel::test {

class StubDriverTest : public SandboxTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Builds the bundle into the sandbox and starts its stub.
  void BuildAndStart(const bundler::SetupDescription& d);
  // Waits for a window whose title matches, and saves its screenshot.
  std::string Expect(const std::string& titleRegex, const std::string& shotName);
  void Shot(const std::string& windowId, const std::string& name);
  // Types the folder into the folder chooser and accepts it.
  void ChooseFolder(const std::string& path);
  // Waits until nothing is at `path` (what a clean-up program removes); false
  // when something still is after `limit`.
  static bool GoneWithin(const std::string& path, std::chrono::milliseconds limit);
  // Waits for the stub to end; its exit code.
  std::optional<int> Finish();
  // Replaces field `field` of the built bundle's TextData, as a careless tool
  // would write it.
  void SetTextField(int field, const std::string& value);
  std::string Data2Path() const { return bundlePath + "/Contents/Resources/Data2"; }
  // Waits for a plain message box and answers it by Return.
  void AnswerMessage(const std::string& shotName);

  std::map<std::string, std::string> extraEnv;  // for the stub, over the session's
  bool carryRuntime = false;  // a self-contained bundle, as the command makes it
  // Starts the stub's command line and environment some other way (in
  // another root); by default they are started as they are.
  std::function<std::vector<std::string>(const std::vector<std::string>&, const std::map<std::string, std::string>&)>
      launcher;
  // The test setup: its bundle, main window and target "GuiApp", with the
  // payload from "payload-source" in the sandbox.
  bundler::SetupDescription TestSetup();
  // The main window's buttons, from its design.
  static constexpr int kQuitX = 244, kInstallX = 336, kMainButtonsY = 208;
  // Rows of the choice and option dialogs, and their Continue button, for three entries.
  static constexpr int kRowX = 60, kContinueX = 280, kContinueY = 120;
  static constexpr int RowY(int row) { return 14 + 32 * row + 10; }

  std::string bundlePath;
  std::unique_ptr<XSession> x;
  std::unique_ptr<Process> stub;
  std::string shotDir;
  int shots = 0;
};

}  // namespace ostrel::test
