// The example with a choice and options, installed by the real stub: an
// edition picked, two options ticked (one downloaded from a server on
// 127.0.0.1), the release notes, and the completion URL handed to xdg-open.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <functional>
#include <thread>

#include "bundler/description_file.h"
#include "gui/stub_driver.h"
#include "support/local_http_server.h"
#include "support/snapshot.h"

namespace ostrel::test {
namespace {

using namespace std::chrono_literals;

const std::string kExample = std::string(OSTREL_SOURCE_DIR) + "/examples/choices";

class ChoicesGuiTest : public StubDriverTest {
 protected:
  // The example, with its download served here; xdg-open is a recorder.
  void Start(const std::function<void(bundler::SetupDescription&)>& adjust = {}) {
    auto d = bundler::ReadDescriptionFile(kExample + "/choices.setup");
    if (adjust) adjust(d);
    d.optionEntries[2].url = server.Url("/samples.zip");
    fs::create_directories(At("bin"));
    WriteFile(At("bin/xdg-open"), "#!/bin/sh\nprintf '%s\\n' \"$*\" >> \"" + At("xdg-open.log") + "\"\n");
    chmod(At("bin/xdg-open").c_str(), 0755);
    extraEnv["PATH"] = At("bin") + ":" + getenv("PATH");
    BuildAndStart(d);
    // Slow enough (about two seconds) to be seen on the main window.
    server.Route("/samples.zip", {.body = ReadFile(At("dist/ChoicesDemo-Option3.zip")), .dripBytes = 1500,
                                  .dripPause = 150ms});
    fs::create_directories(At("target"));
    WriteFile(At("target/sentinel.txt"), "the user's");
  }
  void PressInstall() {
    main = Expect("^Ostrel Weather Station$", "main-window");
    x->Click(main, kInstallX, kMainButtonsY);
  }

  std::string main;
  LocalHttpServer server;
};

TEST_F(ChoicesGuiTest, AnEditionTwoOptionsOneDownloadedTheNotesAndTheUrl) {
  Start();
  PressInstall();
  const std::string choice = Expect("^Pick Your Edition$", "choice");
  EXPECT_EQ(x->WindowSize(choice), std::make_pair(340, 150));
  x->Click(choice, kRowX, RowY(1));  // Professional edition
  Shot(choice, "choice-picked");
  x->Click(choice, kContinueX, kContinueY);
  const std::string options = Expect("^Select Options$", "options");
  x->Click(options, kRowX, RowY(1));  // Extra plug-ins
  x->Click(options, kRowX, RowY(2));  // Sample readings, downloaded
  Shot(options, "options-ticked");
  x->Click(options, kContinueX, kContinueY);
  ChooseFolder(At("target"));
  for (int i = 0; i < 50 && server.Requests().empty(); ++i) std::this_thread::sleep_for(100ms);
  std::this_thread::sleep_for(700ms);
  Shot(main, "downloading");
  const std::string notes = Expect("^Release Notes$", "release-notes");
  x->Click(notes, 630, 380);  // OK, the only button
  EXPECT_EQ(Finish(), 0);

  // The payload, the edition over it, the plug-ins merged, the samples downloaded.
  const std::string expected = At("expected");
  const auto copy = fs::copy_options::recursive | fs::copy_options::overwrite_existing;
  fs::copy(kExample + "/app", expected, copy);
  fs::copy(kExample + "/editions/professional", expected, copy);
  fs::copy(kExample + "/options/plugins", expected + "/Plugins", copy);
  fs::copy(kExample + "/options/samples", expected + "/Samples", copy);
  EXPECT_EQ(TreeDiff(expected, At("target/WeatherStation")), "");
  EXPECT_EQ(ReadFile(At("target/sentinel.txt")), "the user's");
  EXPECT_EQ(std::distance(fs::directory_iterator(At("target")), {}), 2);
  ASSERT_EQ(server.Requests().size(), 1u);
  EXPECT_EQ(server.Requests()[0].userAgent, "Sorrelkin");

  // xdg-open runs detached: give it a moment to write.
  for (int i = 0; i < 50 && !fs::exists(At("xdg-open.log")); ++i) std::this_thread::sleep_for(100ms);
  EXPECT_EQ(ReadFile(At("xdg-open.log")), "https://www.example.com/weather-station/welcome\n");
}

TEST_F(ChoicesGuiTest, EscapeInTheOptionsInstallsNothing) {
  Start();
  PressInstall();
  x->Click(Expect("^Pick Your Edition$", "choice"), kContinueX, kContinueY);
  x->Key(Expect("^Select Options$", "options"), "Escape");
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(At("target")), {}), 1);
  EXPECT_TRUE(fs::is_empty(At("home/Applications")));
  EXPECT_TRUE(server.Requests().empty());
  EXPECT_FALSE(fs::exists(At("xdg-open.log")));
}

// Declining the replace installs nothing at all: no edition or option merged
// into the earlier installation, no notes, no URL, and no clean-up (mode 2
// would take the folder that holds the setup).
TEST_F(ChoicesGuiTest, ADeclinedReplaceLeavesTheEarlierInstallationAndTheSetupAsTheyWere) {
  Start([](bundler::SetupDescription& d) { d.cleanup = 2; });
  WriteFile(At("target/WeatherStation/README.txt"), "the earlier installation");
  WriteFile(At("target/WeatherStation/edition.txt"), "the user's own edition");
  const std::vector<std::string> running = {"home", "tmp", "runtime", "bin"};
  const Snapshot before = TakeSnapshot(root.string(), running);
  PressInstall();
  const std::string choice = Expect("^Pick Your Edition$", "choice");
  x->Click(choice, kRowX, RowY(1));
  x->Click(choice, kContinueX, kContinueY);
  const std::string options = Expect("^Select Options$", "options");
  x->Click(options, kRowX, RowY(1));
  x->Click(options, kContinueX, kContinueY);
  ChooseFolder(At("target"));
  x->Key(Expect("^Confirmation$", "replace-question"), "Escape");
  EXPECT_EQ(Finish(), 0);
  // A clean-up program, had one been started, would have acted by now.
  std::this_thread::sleep_for(3s);
  EXPECT_EQ(SnapshotDiff(before, TakeSnapshot(root.string(), running)), "");
  EXPECT_FALSE(fs::exists(At("xdg-open.log")));
}

TEST_F(ChoicesGuiTest, QuitDuringTheDownloadLeavesNoFileOfIt) {
  Start();
  PressInstall();
  x->Click(Expect("^Pick Your Edition$", "choice"), kContinueX, kContinueY);
  const std::string options = Expect("^Select Options$", "options");
  x->Click(options, kRowX, RowY(2));
  x->Click(options, kContinueX, kContinueY);
  ChooseFolder(At("target"));
  for (int i = 0; i < 50 && server.Requests().empty(); ++i) std::this_thread::sleep_for(100ms);
  std::this_thread::sleep_for(300ms);
  x->Click(main, kQuitX, kMainButtonsY);
  EXPECT_EQ(Finish(), 0);
  std::vector<std::string> names;
  for (auto& e : fs::directory_iterator(At("target/WeatherStation"))) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"Plugins", "README.txt", "bin", "edition.txt"}));
}

}  // namespace
}  // namespace ostrel::test
