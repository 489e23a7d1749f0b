// Installing the chosen and ticked archives into the target, from the bundle
// and from a URL, then the release notes and the completion URL.
#include <gtest/gtest.h>

#include <set>


#include "framework/sha256.h"
#include "unit/http/http_fixture.h"
#include "support/zip_fixture.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

class ExpandChoicesTest : public HttpTest {
 protected:
  void SetUp() override {
    HttpTest::SetUp();
    window->fTargetFolder = At("apps/Tool");
    WriteFile(At("apps/Tool/keep.txt"), "the user's");
    WriteFile(At("apps/Tool/same.txt"), "old");
    WriteFile(At("apps/beside.txt"), "sentinel");
    fs::create_directories(Resources());
  }
  std::string Zip(const std::string& name, const std::vector<ZipEntry>& entries) {
    WriteZip(Resources() + "/" + name, entries);
    return Resources() + "/" + name;
  }
  void Expand(const std::string& choice, const std::string& options) {
    Run([&] { window->ExpandChoiceAndOptions(choice, options); });
  }
  // The target's parent holds the target and the sentinel, and nothing left over.
  void ExpectNothingBesideTheTarget() {
    std::vector<std::string> names;
    for (auto& e : fs::directory_iterator(At("apps"))) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Tool", "beside.txt"}));
    EXPECT_EQ(ReadFile(At("apps/beside.txt")), "sentinel");
  }
};

TEST_F(ExpandChoicesTest, TheFolderRuleAndTheStagedMerge) {
  Zip("full.zip", {{"same.txt", "new"}, {"bin/", "", ZipEntry::Folder, 0755}, {"bin/tool", "t"}});
  Zip("docs.zip", {{"guide.txt", "guide"}});
  Zip("data.zip", {{"more.dat", "more"}});
  fs::create_directories(At("apps/Tool/Data"));
  WriteFile(At("apps/Tool/Data/mine.dat"), "mine");
  Zip("first.zip", {{"first.txt", "first"}});
  // The target's own name, in another case, is the target itself. Of two
  // choices with one caption the last decides; an option is found by its
  // whole caption, not by a part of a ticked one.
  window->fInstallChoices = "Full,first.zip,First|Standard,std.zip,Extras|Full,sub/full.zip,tOOL";
  window->fInstallOptions = "Docs,docs.zip,Docs|Data,data.zip,Data|Other,other.zip,Other|Doc,first.zip,Doc|"
                            "ata,first.zip,Ata";
  Expand("full", "Docs,Data");

  EXPECT_EQ(ui.messages, std::vector<std::string>{});
  EXPECT_EQ(ReadFile(At("apps/Tool/same.txt")), "new");
  EXPECT_EQ(ReadFile(At("apps/Tool/keep.txt")), "the user's");
  EXPECT_EQ(ReadFile(At("apps/Tool/bin/tool")), "t");
  EXPECT_EQ(ReadFile(At("apps/Tool/Docs/guide.txt")), "guide");
  EXPECT_EQ(ReadFile(At("apps/Tool/Data/mine.dat")), "mine");
  EXPECT_EQ(ReadFile(At("apps/Tool/Data/more.dat")), "more");
  EXPECT_FALSE(fs::exists(At("apps/Tool/Data_Option")));
  for (const char* never : {"Other", "First", "Doc", "Ata", "first.txt"})
    EXPECT_FALSE(fs::exists(At("apps/Tool/") + never)) << never;
  EXPECT_EQ(window->MessageLabel.Text(), "Please Wait");
  ExpectNothingBesideTheTarget();
}

TEST_F(ExpandChoicesTest, FailuresAreToldAndTheRestGoesOn) {
  Zip("lib.zip", {{"lib/", "", ZipEntry::Folder, 0755}, {"lib/new.so", "new"}, {"top.txt", "top"}});
  const std::string good = Zip("good.zip", {{"g.txt", "g"}});
  fs::create_directories(At("apps/Tool/lib"));
  WriteFile(At("apps/Tool/lib/old.so"), "old");
  window->fInstallChoices = "Lib,lib.zip,Tool";
  const std::string pin = "sha256=" + fw::Sha256OfFile(good);
  window->fInstallOptions = "A,missing.zip,A|B,good.zip,B," + std::string(64, '0') + "|B,good.zip,B2,tip," +
                            pin + "|C,good.zip,C,,sha256=" + std::string(64, '0') + "|D,myhttp.zip,D|E,good.zip,E,,SHA256=" +
                            pin.substr(7, 63) + "|F,gone.zip,F,," + pin + "|G,good.zip,..|H,good.zip," +
                            At("apps") + "|I,good.zip,B/../..";
  Expand("Lib", "D,B,A,C,E,F,G,H,I");

  EXPECT_EQ(ui.messages, (std::vector<std::string>{
                             "Failed to create " + At("apps/Tool/lib"),
                             "Install failed for option A",
                             "The archive good.zip is damaged: its checksum does not match.",
                             "Install failed for option C",
                             "Install failed for option D",
                             "The archive good.zip is damaged: its checksum does not match.",
                             "Install failed for option E",
                             "Install failed for option F",  // missing, though pinned: not damaged
                             "Install failed for option G",
                             "Install failed for option H",
                             "Install failed for option I",
                         }));
  // A folder that meets a folder with content stays as it was; the rest of the archive merged.
  EXPECT_EQ(ReadFile(At("apps/Tool/lib/old.so")), "old");
  EXPECT_FALSE(fs::exists(At("apps/Tool/lib/new.so")));
  EXPECT_EQ(ReadFile(At("apps/Tool/top.txt")), "top");
  // Both entries captioned B, the one with a stray fifth field and the pinned one.
  EXPECT_EQ(ReadFile(At("apps/Tool/B/g.txt")), "g");
  EXPECT_EQ(ReadFile(At("apps/Tool/B2/g.txt")), "g");
  EXPECT_FALSE(fs::exists(At("apps/Tool/C")));
  EXPECT_FALSE(fs::exists(At("apps/Tool/E")));
  ExpectNothingBesideTheTarget();

  // A choice whose folder leads out of the target installs nothing.
  ui.messages.clear();
  window->fInstallChoices = "Up,good.zip,..";
  Expand("Up", "");
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Install failed for selected choice"});
  ExpectNothingBesideTheTarget();
}

TEST_F(ExpandChoicesTest, AnOptionFromAUrl) {
  // Bytes that no compression shrinks: the archive passes the download's 10000-byte rule.
  WriteZip(At("served.zip"), {{"big.bin", RandomBytes(20000, 1)}, {"sub/", "", ZipEntry::Folder, 0755}, {"sub/s.txt", "s"}});
  const std::string served = ReadFile(At("served.zip"));
  server.Route("/get/pack.zip", {.body = served});
  server.Route("/get/short.zip", {.body = served.substr(0, 9999)});
  server.Route("/get/", {.body = served});
  // Broken off after more than the smallest setup: not a download at all.
  server.Route("/get/cut.zip", {.body = served.substr(0, 15000), .announced = static_cast<int64_t>(served.size())});
  WriteFile(At("apps/pack.zip"), "the user's own pack.zip");
  fs::create_directories(At("apps/Tool/Extras"));
  window->fInstallOptions = "Web," + server.Url("/get/pack.zip") + ",Extras,,sha256=" + fw::Sha256OfFile(At("served.zip")) +
                            "|Short," + server.Url("/get/short.zip") + ",Short|Slash," + server.Url("/get/") +
                            ",Slash|Self,HTTP://127.0.0.1:" + std::to_string(server.Port()) + "/get/pack.zip,tool|Cut," +
                            server.Url("/get/cut.zip") + ",Cut";
  // Each text from its own slot, the neighbours' told apart.
  window->fLabels.resize(27);
  window->fLabels[21] = "Hold on";
  window->fLabels[22] = "Fetching";
  window->fLabels[23] = "Pick";
  std::set<std::string> shown;
  // Seen at each transfer's wait (a download with no file name has none).
  ui.onModal = [&](fw::Window&) { shown.insert(window->MessageLabel.Text()); };
  Expand("", "Web,Short,Slash,Self,Cut");
  ui.onModal = nullptr;

  EXPECT_EQ(ui.messages, (std::vector<std::string>{"Setup file download failed.", "Install failed for option Short",
                                                   "Setup file download failed.", "Install failed for option Slash",
                                                   "Setup file download failed.", "Install failed for option Cut"}));
  EXPECT_EQ(shown, (std::set<std::string>{"Fetching Web", "Fetching Short", "Fetching Self",
                                          "Fetching Cut"}));
  EXPECT_EQ(window->MessageLabel.Text(), "Hold on");
  EXPECT_EQ(ReadFile(At("apps/Tool/Extras/sub/s.txt")), "s");
  EXPECT_EQ(ReadFile(At("apps/Tool/sub/s.txt")), "s");  // into the target itself, by way of Tool_Option
  EXPECT_EQ(ReadFile(At("apps/pack.zip")), "the user's own pack.zip");
  EXPECT_TRUE(HiddenFiles(At("apps/Tool")).empty());
  EXPECT_EQ(window->ProgressBar1.Maximum(), static_cast<int64_t>(served.size()));
  // The short and the cut answers were asked for twice; the rest once each.
  EXPECT_EQ(server.Requests().size(), 6u);
  fs::remove(At("apps/pack.zip"));
  ExpectNothingBesideTheTarget();
}

TEST_F(ExpandChoicesTest, ReleaseNotesComeBeforeTheCompletionUrl) {
  window->fCompletionURL = "https://example.com/thanks";
  window->fLabels.resize(27);
  window->fLabels[26] = "What's New";
  size_t urlsDuringNotes = 99;
  auto answer = [&](fw::Window& w) {
    urlsDuringNotes = platform.urls.size();
    w.PressDefault();
  };
  window->fPostInstallNotes = "Plain notes.";
  ui.answers = {answer};
  Expand("", "");
  window->fPostInstallNotes = "<p>Notes</p><html>late tag";
  ui.answers = {answer};
  Expand("", "");

  ASSERT_EQ(ui.modals.size(), 2u);
  EXPECT_EQ(urlsDuringNotes, 1u);  // the second run's URL came after its notes
  EXPECT_EQ(ui.modals[0].title, "What's New");
  EXPECT_EQ(ui.modals[0].Get("OKBtn").caption, "OK");
  EXPECT_FALSE(ui.modals[0].Get("QuitBtn").visible);
  EXPECT_EQ(ui.modals[1].Get("ContinueBtn").caption, "OK");
  EXPECT_FALSE(ui.modals[1].Get("QuitBtn").visible);
  EXPECT_EQ(platform.urls, (std::vector<std::string>{"https://example.com/thanks", "https://example.com/thanks"}));
  EXPECT_EQ(window->MessageLabel.Text(), "");  // nothing to install: no "Please Wait"

  window->fTargetFolder.clear();
  Expand("Full", "Docs");
  EXPECT_EQ(platform.urls.size(), 2u);
  EXPECT_EQ(ui.modals.size(), 2u);
}

}  // namespace
}  // namespace ostrel::test
