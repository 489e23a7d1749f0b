// The programs run before and after installing, played by scripts that
// answer on the in-memory clipboard at set ticks after their launch.
#include <gtest/gtest.h>

#include <ostream>

#include "unit/core/core_fixture.h"

namespace ostrel::test {
namespace {

struct Conversation {
  const char* name;
  std::string program;                                 // the record's before-program
  std::vector<std::pair<int64_t, std::string>> says;  // ticks after the launch, clipboard text
  std::optional<int> exit;                             // how startup ended: nothing, the window waits
  std::vector<std::string> messages;
  int64_t minTicks, maxTicks;  // how long the wait lasted
};

void PrintTo(const Conversation& c, std::ostream* out) {
  *out << c.program << " says";
  for (const auto& [after, text] : c.says) *out << " \"" << text << "\" at " << after;
  if (c.says.empty()) *out << " nothing";
}

class LaunchedProgramTest : public CoreTest, public ::testing::WithParamInterface<Conversation> {
 protected:
  // Every launch starts the same scripted program.
  void Script(const std::vector<std::pair<int64_t, std::string>>& says) {
    platform.onLaunch = [this, says](const std::string&) {
      launchedAt = platform.ticks;
      for (const auto& [after, text] : says)
        platform.At(platform.ticks + after, [this, text] { platform.SetClipboardText(text); });
    };
  }
  int64_t launchedAt = -1;
};

TEST_P(LaunchedProgramTest, TheBeforeProgramIsWaitedForAsItSays) {
  const Conversation& c = GetParam();
  SetupRecord r = PlainRecord();
  r.data[8] = c.program;
  r.text[2] = "Welcome";
  WriteRecord(r);
  WriteFile(At("Setup.app/Contents/Resources/Check"), "#!/bin/sh\n");
  WriteFile(At("Check"), "#!/bin/sh\n");
  platform.SetClipboardText("the user's own text");
  Script(c.says);
  bool hiddenWhileRunning = false;
  platform.At(1, [&] { hiddenWhileRunning = !window->Visible(); });

  EXPECT_EQ(Open(), c.exit);
  ASSERT_EQ(platform.launches.size(), 1u);
  EXPECT_EQ(platform.launches[0].path, c.program == "Check" ? At("Setup.app/Contents/Resources/Check") : At("Check"));
  EXPECT_TRUE(hiddenWhileRunning);
  EXPECT_EQ(ui.messages, c.messages);
  EXPECT_GT(platform.ticks - launchedAt, c.minTicks);
  EXPECT_LE(platform.ticks - launchedAt, c.maxTicks);
  // Only a run that goes on fills the window from the record.
  EXPECT_EQ(window->MessageLabel.Text(), c.exit ? "" : "Welcome");
  EXPECT_TRUE(window->Visible());
}

const std::vector<std::pair<int64_t, std::string>> kHoldsThenReady = {
    {30, "OstrelWait"}, {600, "OstrelDone:Ready"}};

INSTANTIATE_TEST_SUITE_P(
    Answers, LaunchedProgramTest,
    ::testing::Values(
        Conversation{"HoldsThenDone", "Check", kHoldsThenReady, std::nullopt, {"Ready"}, 600, 680},
        Conversation{"HoldsThenAborts", "Check", {{30, "OstrelWait"}, {400, "OstrelAbort:No"}}, 0, {"No"}, 400, 480},
        Conversation{"LowerCaseHoldsAndAborts", "Check", {{30, "ostrelwait"}, {400, "ostrelabort:"}}, 0, {}, 400, 480},
        // A cleared clipboard that stays empty: the program runs on unattended.
        Conversation{"SilentNoWait", "Check", {}, std::nullopt, {}, 180, 190},
        // A macro leaves the setup's folder on the clipboard: one more poll.
        Conversation{"SilentWithMacro", "SetupFolder/Check", {}, std::nullopt, {}, 240, 260},
        // "OstrelWait" after the grace time finds the wait over.
        Conversation{"LateWait", "Check", {{200, "OstrelWait"}, {600, "OstrelAbort:No"}}, std::nullopt, {}, 180, 190},
        Conversation{"OneCharacterIsNotShown", "Check", {{100, "OstrelDone:K"}}, std::nullopt, {}, 240, 260},
        Conversation{"AnyOtherTextIsSuccess", "Check", {{30, "OstrelWait"}, {300, "copied text"}}, std::nullopt, {}, 300, 380},
        // Held for ever: given up after an hour, and the installer goes on.
        Conversation{"HeldForEver", "Check", {{30, "OstrelWait"}}, std::nullopt, {}, 216000, 216400}),
    [](const auto& info) { return std::string(info.param.name); });

using BeforeProgramTest = CoreTest;

TEST_F(BeforeProgramTest, NoneLeavesTheClipboardAndTheClockAlone) {
  WriteRecord(PlainRecord());
  platform.SetClipboardText("mine");
  EXPECT_EQ(Open(), std::nullopt);
  EXPECT_TRUE(platform.launches.empty());
  EXPECT_EQ(platform.ClipboardText(), "mine");
  EXPECT_EQ(platform.ticks, 0);
}

TEST_F(BeforeProgramTest, SpecialPathResolvesOneChainAndTellsTheSetupFolder) {
  window->fTargetFolder = "/opt/Target";
  const std::string setup = At("");
  struct Row {
    std::string in, out, clipboard;
    bool found;
  };
  const Row rows[] = {
      {"userACCOUNT/Tool", At("home") + "/Tool", setup + "Tool", true},
      {"InstallFolder/bin/x", "/opt/Target/bin/x", setup + "bin/x", true},
      {"FixedPath//usr/bin/tool", "/usr/bin/tool", setup + "/usr/bin/tool", true},
      {"FixedPath/SetupFolder/tool", setup + "tool", setup + "tool", true},
      {"FixedPath/InstallFolder/tool", "InstallFolder/tool", setup + "InstallFolder/tool", true},
      {"SetupFolder/", setup, setup, true},
      {"/x/SetupFolder/tool", "/x/SetupFolder/tool", "untouched", false},
      {"", "", "untouched", false},
  };
  for (const Row& row : rows) {
    platform.SetClipboardText("untouched");
    std::string path = row.in;
    EXPECT_EQ(window->SpecialPath(path), row.found) << row.in;
    EXPECT_EQ(path, row.out) << row.in;
    EXPECT_EQ(platform.ClipboardText(), row.clipboard) << row.in;
  }
}

}  // namespace
}  // namespace ostrel::test
