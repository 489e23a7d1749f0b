// A self-contained bundle on a machine that holds only the receiver's base
// system: started by bwrap in a root made of the base packages' files, it
// installs by keys and clicks, downloads an option by https from a server
// whose certificate that root trusts, and its clean-up program runs there
// too. Every library and plugin a run loads comes from the bundle or the
// base system, in that root and on this machine.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "bundler/bundle.h"
#include "bundler/description_file.h"
#include "framework/testing/scratch_tree.h"
#include "gui/stub_driver.h"
#include "support/bare_root.h"
#include "support/local_http_server.h"

namespace ostrel::test {
namespace {

using namespace std::chrono_literals;

const std::string kExample = std::string(OSTREL_SOURCE_DIR) + "/examples/choices";

class BareRootTest : public StubDriverTest {
 protected:
  static void SetUpTestSuite() {
    if (BwrapProgram().empty()) return;
    folder_ = std::string(OSTREL_BINARY_DIR) + "/bare-root";
    fw::testing::RemoveScratchTree(folder_);
    root_ = std::make_unique<BareRoot>(folder_);
  }
  static void TearDownTestSuite() {
    root_.reset();
    if (!folder_.empty()) fw::testing::RemoveScratchTree(folder_);
  }

  void SetUp() override {
    // Never a silent pass: a machine without bwrap cannot show this.
    ASSERT_FALSE(BwrapProgram().empty()) << "bwrap (Debian's bubblewrap) is not installed, so the bundle cannot be "
                                            "tried in a root that holds only the base system; scripts/ensure-deps.sh "
                                            "installs it";
    StubDriverTest::SetUp();
    carryRuntime = true;
    extraEnv["LD_DEBUG"] = "libs";
    extraEnv["LD_DEBUG_OUTPUT"] = At("loader/trace");
    fs::create_directories(At("loader"));
  }

  // The stub in the bare root, with the sandbox at its own path.
  void StartInBareRoot(const bundler::SetupDescription& d) {
    launcher = [this](const std::vector<std::string>& argv, const std::map<std::string, std::string>& env) {
      return root_->Command(argv, {root.string()}, env);
    };
    BuildAndStart(d);
  }

  // Every shared object the runs so far initialised (the loader's own trace).
  std::vector<std::string> LoadedObjects() {
    std::vector<std::string> loaded;
    const std::string marker = "calling init: ";
    for (const auto& trace : fs::directory_iterator(At("loader"))) {
      std::ifstream in(trace.path());
      for (std::string line; std::getline(in, line);)
        if (const size_t at = line.find(marker); at != std::string::npos) loaded.push_back(line.substr(at + marker.size()));
    }
    return loaded;
  }
  void ExpectOnlyBundleAndBaseSystem() {
    const std::vector<std::string> loaded = LoadedObjects();
    EXPECT_GT(loaded.size(), 20u) << "the loader's trace is missing";
    const std::string bundle = fs::path(bundlePath).lexically_normal().string() + "/";
    for (const std::string& object : loaded)
      EXPECT_TRUE(fs::path(object).lexically_normal().string().rfind(bundle, 0) == 0 || root_->HoldsSystemFile(object))
          << object << " comes from neither the bundle nor the base system";
  }

  static inline std::string folder_;
  static inline std::unique_ptr<BareRoot> root_;
};

TEST_F(BareRootTest, InstallsWithAnHttpsDownloadAndCleansUpWhereOnlyTheBaseSystemIs) {
  LocalHttpServer server(/*selfSignedTls=*/true);
  root_->TrustCertificate(server.CertificatePem());
  auto d = bundler::ReadDescriptionFile(kExample + "/choices.setup");
  d.optionEntries[2].url = server.Url("/samples.zip");
  d.cleanup = 1;
  for (const char* s : {"keep.txt", "dist/keep.txt", "target/keep.txt", "home/keep.txt"}) WriteFile(At(s), "sentinel");
  StartInBareRoot(d);
  server.Route("/samples.zip", {.body = ReadFile(At("dist/ChoicesDemo-Option3.zip"))});

  x->Click(Expect("^Ostrel Weather Station$", "main-window"), kInstallX, kMainButtonsY);
  const std::string choice = Expect("^Pick Your Edition$", "choice");
  x->Click(choice, kRowX, RowY(1));  // Professional edition
  x->Click(choice, kContinueX, kContinueY);
  const std::string options = Expect("^Select Options$", "options");
  x->Click(options, kRowX, RowY(2));  // Sample readings, downloaded by https
  x->Click(options, kContinueX, kContinueY);
  ChooseFolder(At("target"));
  const std::string notes = Expect("^Release Notes$", "release-notes");
  if (notes.empty()) Shot(x->FindWindow(".").value_or(""), "instead-of-the-notes");
  x->Click(notes, 630, 380);
  EXPECT_EQ(Finish(), 0);

  const std::string expected = At("expected");
  const auto copy = fs::copy_options::recursive | fs::copy_options::overwrite_existing;
  fs::copy(kExample + "/app", expected, copy);
  fs::copy(kExample + "/editions/professional", expected, copy);
  fs::copy(kExample + "/options/samples", expected + "/Samples", copy);
  EXPECT_EQ(TreeDiff(expected, At("target/WeatherStation")), "");
  ASSERT_EQ(server.Requests().size(), 1u);

  // The clean-up program, unpacked into the temporary folder, ran there too.
  EXPECT_TRUE(GoneWithin(bundlePath, 15s)) << bundlePath;
  for (const char* s : {"keep.txt", "dist/keep.txt", "target/keep.txt", "home/keep.txt"})
    EXPECT_EQ(ReadFile(At(s)), "sentinel") << s;
  ExpectOnlyBundleAndBaseSystem();
}

// On this machine, where Qt and its plugins are installed too, the bundle
// still loads only what it carries beyond the base system.
TEST_F(BareRootTest, OnAFullMachineTheBundleLoadsOnlyWhatItCarries) {
  auto d = TestSetup();
  WriteFile(At("payload-source/readme.txt"), "read me");
  fs::create_directories(At("target"));
  BuildAndStart(d);
  x->Click(Expect("^Gui Setup Test$", "main-window"), kInstallX, kMainButtonsY);
  ChooseFolder(At("target"));
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(ReadFile(At("target/GuiApp/readme.txt")), "read me");
  ExpectOnlyBundleAndBaseSystem();
}

// With no display at all the stub says so in one line and ends as every run does.
TEST_F(BareRootTest, WithNoDisplayTheStubSaysSoAndEndsWithZero) {
  auto d = TestSetup();
  WriteFile(At("payload-source/readme.txt"), "read me");
  const std::string exe = bundler::BuildBundle(d, OSTREL_STUB_BINARY, At("dist"), true) + "/Contents/MacOS/GuiSetup";
  const std::string err = At("stderr.txt");
  Process run(root_->Command({"/bin/sh", "-c", "exec \"$0\" 2>\"$1\"", exe, err}, {root.string()},
                             {{"HOME", At("home")}, {"PATH", "/usr/bin:/bin"}}),
              {});
  EXPECT_EQ(run.Wait(30s), 0);
  const std::string said = ReadFile(err);
  EXPECT_NE(said.find("no display"), std::string::npos) << said;
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  EXPECT_FALSE(fs::exists(At("target")));
}

// What goes out: a stub with no symbols, no debug information and no folder
// of the machine that built it, under 2 MB; a thin bundle carries nothing.
TEST_F(BareRootTest, TheShippedStubIsStrippedAndNamesNoFolderOfThisMachine) {
  auto d = TestSetup();
  d.cleanup = 1;
  WriteFile(At("payload-source/readme.txt"), "read me");
  for (const bool carried : {true, false}) {
    const std::string bundle = bundler::BuildBundle(d, OSTREL_STUB_BINARY, At(carried ? "full" : "thin"), carried);
    EXPECT_EQ(fs::exists(bundle + "/Contents/Frameworks/libQt6Core.so.6"), carried);
    EXPECT_EQ(fs::exists(bundle + "/Contents/PlugIns/platforms/libqxcb.so"), carried);
    EXPECT_EQ(fs::read_symlink(bundle + "/Install Gui Setup"), "Contents/MacOS/GuiSetup");
    const std::string stub = ReadFile(bundle + "/Contents/MacOS/GuiSetup");
    EXPECT_LT(stub.size(), 2u << 20);
    for (const std::string& telltale : {std::string(".symtab"), std::string(".debug_info"),
                                        std::string(OSTREL_SOURCE_DIR), std::string(OSTREL_BINARY_DIR)})
      EXPECT_EQ(stub.find(telltale), std::string::npos) << telltale;
  }
}

}  // namespace
}  // namespace ostrel::test
