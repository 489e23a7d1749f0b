// The way out offered for a translocated application: the dialog as the user
// sees it, and its route (Cancel runs nothing; OK hands the typed path and
// password to the platform's quarantine clearing); both end the run.
#include "fileutil/view_const.h"
#include "relocation/gatekeeper_translocation.h"
#include "support/sandbox.h"

namespace ostrel::test {
namespace {

using fw::testing::ScriptedUI;

class TranslocationTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    platform.executablePath = At("private/var/AppTranslocation/ABC/d/Setup.app/Contents/MacOS/Setup");
  }
  std::optional<int> Ask() {
    return Run([&] { path = ViewConst::GetApplicationPath(); });
  }
  std::string path;
};

TEST_F(TranslocationTest, NothingIsAskedUnlessTheFolderIsTranslocatedAndCancelRunsNothing) {
  EXPECT_EQ(Ask(), std::nullopt);  // the application's open event set the switch
  EXPECT_EQ(path, At("private/var/AppTranslocation/ABC/d") + "/");
  ViewConst::gIgnoreTranslocationError = false;
  platform.executablePath = At("apps/Setup.app/Contents/MacOS/AppTranslocation");
  EXPECT_EQ(Ask(), std::nullopt);
  EXPECT_EQ(path, At("apps") + "/");
  EXPECT_TRUE(ui.modals.empty());

  platform.executablePath = At("x/apptranslocation/Setup.app/Contents/MacOS/Setup");  // any case
  ui.answers.push_back(ScriptedUI::PressCancel());
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(ui.modals.size(), 1u);
  EXPECT_TRUE(platform.quarantineClearings.empty());
}

TEST_F(TranslocationTest, OKHandsThePathAndPasswordToTheQuarantineClearingAndQuits) {
  ViewConst::gIgnoreTranslocationError = false;
  const std::string password = "p\"a'$(rm -rf ~)`id`\\ \n";
  ui.answers.push_back([&](fw::Window& w) {
    w.Get("AppPathEdit").SetText("/Users/me/Downloads/My Setup.app");
    w.Get("AdminPasswordEdit").SetText(password);
    ScriptedUI::PressDefault()(w);
  });
  EXPECT_EQ(Ask(), 0);
  ASSERT_EQ(platform.quarantineClearings.size(), 1u);
  EXPECT_EQ(platform.quarantineClearings[0].path, "/Users/me/Downloads/My Setup.app");
  EXPECT_EQ(platform.quarantineClearings[0].password, password);

  const auto& seen = ui.modals.at(0);
  EXPECT_EQ(seen.title, "Gatekeeper Translocation Issue");
  EXPECT_EQ(std::make_pair(seen.width, seen.height), std::make_pair(600, 237));
  const std::vector<std::pair<std::string, fw::Rect>> layout = {
      {"Label1", {20, 19, 560, 127}},       {"Label2", {20, 164, 100, 20}},  {"AppPathEdit", {139, 163, 441, 22}},
      {"Label3", {20, 196, 100, 20}},       {"AdminPasswordEdit", {139, 195, 147, 22}},
      {"CancelBtn", {408, 196, 80, 20}},    {"OKBtn", {500, 196, 80, 20}}};
  for (const auto& [name, rect] : layout) {
    const auto* control = seen.Find(name);
    ASSERT_NE(control, nullptr) << name;
    EXPECT_EQ(control->geometry, rect) << name;
  }
  EXPECT_EQ(seen.Get("Label2").caption, "Application Path:");
  EXPECT_EQ(seen.Get("Label3").caption, "Admin Password:");
  EXPECT_EQ(seen.Get("AppPathEdit").caption, "");
  EXPECT_TRUE(seen.Get("OKBtn").isDefault);
  EXPECT_TRUE(seen.Get("CancelBtn").isCancel);
  EXPECT_EQ(seen.Get("Label1").caption,
            "Gatekeeper is blocking this application due to the process in which it was downloaded to your "
            "computer, because it was launched from within the Downloads folder or because of a GateKeeper OS "
            "bug.  \r\rTo correct the issue, first click Cancel and move this app to the Applications folder.  If "
            "this dialog is presented again, carefully enter the exact path to the Application including the "
            "suffix .app and your Admin account password below, then click OK.");
}

}  // namespace
}  // namespace ostrel::test
