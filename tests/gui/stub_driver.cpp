#include "gui/stub_driver.h"

#include <sys/stat.h>

#include <vector>

#include "bundler/bundle.h"

namespace ostrel::test {

using namespace std::chrono_literals;

void StubDriverTest::SetUp() {
  SandboxTest::SetUp();
  if (::testing::Test::IsSkipped()) return;
  x = std::make_unique<XSession>();
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  shotDir = std::string(OSTREL_BINARY_DIR) + "/gui-screenshots/" + info->test_suite_name() + "." + info->name();
  fs::remove_all(shotDir);
  fs::create_directories(shotDir);
}

void StubDriverTest::TearDown() {
  stub.reset();
  x.reset();
  SandboxTest::TearDown();
}

void StubDriverTest::BuildAndStart(const bundler::SetupDescription& d) {
  bundlePath = bundler::BuildBundle(d, OSTREL_STUB_BINARY, At("dist"), carryRuntime);
  const std::string exe =
      bundlePath + "/Contents/MacOS/" + (d.executableName.empty() ? d.bundleName : d.executableName);
  fs::create_directories(At("runtime"));
  chmod(At("runtime").c_str(), 0700);
  auto env = x->Env();
  // The stub draws on the X display even where the tests run with another
  // platform in their environment.
  env["QT_QPA_PLATFORM"] = "xcb";
  env["HOME"] = At("home");
  env["TMPDIR"] = At("tmp");
  env["XDG_RUNTIME_DIR"] = At("runtime");
  env["XDG_CONFIG_HOME"] = At("home/.config");
  for (const auto& [name, value] : extraEnv) env[name] = value;
  stub = launcher ? std::make_unique<Process>(launcher({exe}, env), x->Env())
                  : std::make_unique<Process>(std::vector<std::string>{exe}, env);
}

void StubDriverTest::Shot(const std::string& windowId, const std::string& name) {
  char prefix[16];
  snprintf(prefix, sizeof prefix, "%02d-", ++shots);
  EXPECT_TRUE(x->Screenshot(windowId, shotDir + "/" + prefix + name + ".png")) << name;
}

std::string StubDriverTest::Expect(const std::string& titleRegex, const std::string& shotName) {
  auto id = x->FindWindow(titleRegex);
  if (!id) {
    ADD_FAILURE() << "no window titled " << titleRegex;
    return {};
  }
  x->WaitSettled(*id);  // laid out, so that a click lands on its control
  Shot(*id, shotName);
  return *id;
}

void StubDriverTest::ChooseFolder(const std::string& path) {
  const std::string chooser = Expect("^Select Folder$", "folder-chooser");
  x->Key(chooser, "ctrl+a");
  x->Type(chooser, path);
  x->Key(chooser, "Return");
}

bool StubDriverTest::GoneWithin(const std::string& path, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (fs::exists(fs::symlink_status(path)) && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(100ms);
  return !fs::exists(fs::symlink_status(path));
}

std::optional<int> StubDriverTest::Finish() { return stub->Wait(60s); }

bundler::SetupDescription StubDriverTest::TestSetup() {
  bundler::SetupDescription d;
  d.bundleName = "Gui Setup";
  d.executableName = "GuiSetup";
  d.windowTitle = "Gui Setup Test";
  d.message = "Welcome to the test setup.";
  d.targetFolder = "GuiApp";
  d.payloadFolder = At("payload-source");
  return d;
}

void StubDriverTest::SetTextField(int field, const std::string& value) {
  const std::string path = bundlePath + "/Contents/Resources/TextData", separator = "|#|";
  std::vector<std::string> fields;
  const std::string text = ReadFile(path);
  for (size_t start = 0;;) {
    const size_t at = text.find(separator, start);
    fields.push_back(text.substr(start, at == std::string::npos ? std::string::npos : at - start));
    if (at == std::string::npos) break;
    start = at + separator.size();
  }
  if (fields.size() < static_cast<size_t>(field)) fields.resize(static_cast<size_t>(field));
  fields[static_cast<size_t>(field) - 1] = value;
  std::string joined;
  for (size_t i = 0; i < fields.size(); ++i) joined += (i ? separator : "") + fields[i];
  WriteFile(path, joined);
}

void StubDriverTest::AnswerMessage(const std::string& shotName) {
  const std::string box = Expect("^Install$", shotName);
  if (!box.empty()) x->Key(box, "Return");
}

}  // namespace ostrel::test
