// A bundle made by the bundle builder, then damaged: the record files cut
// at many lengths or with bytes changed at random, pictures of absurd sizes
// and runs without end, the payload cut anywhere. The startup reads what is
// left without crashing, hanging or growing without bound, and a payload
// that cannot be expanded is reported while the installation goes on.
#include <filesystem>

#include "bundler/bundle.h"
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"
#include "payload/zip/zip_opener.h"
#include "support/forked_child.h"
#include "support/utf8_locale.h"
#include "unit/bundler/bundler_fixture.h"
#include "unit/faults/faults_fixture.h"
#include "unit/hardening/hardening_fixture.h"

namespace ostrel::test {
namespace {

constexpr int64_t kMostPixels = 50'000'000 / 6;  // what a picture text of the largest size can fill

// Presses what a person would: the default button, else the cancel one,
// else any button there is.
fw::testing::ScriptedUI::Answer AnyButton() {
  return [](fw::Window& w) {
    if (w.PressDefault() || w.PressCancel()) return;
    for (const auto& c : w.Controls())
      if (c->kind() == fw::ControlKind::PushButton && c->Visible()) return c->Press();
  };
}

std::string PictureTrouble(const char* name, const std::shared_ptr<const fw::Picture>& p) {
  if (!p) return {};
  const int64_t pixels = int64_t{p->width} * p->height;
  if (p->width <= 0 || p->height <= 0 || pixels > kMostPixels || p->rgb.size() != static_cast<size_t>(pixels) * 3)
    return std::string(name) + " is " + std::to_string(p->width) + " by " + std::to_string(p->height);
  return {};
}

class FaultDamagedBundleTest : public BundlerTest {
 protected:
  void SetUp() override {
    BundlerTest::SetUp();
    RegisterZipOpener();
  }

  void Build(bundler::SetupDescription d) {
    bundle = bundler::BuildBundle(d, stub, At("out"));
    resources = bundle + "/Contents/Resources/";
    platform.executablePath = bundle + "/Contents/MacOS/Setup";
  }

  // Opens the installer on each variant of the file `name` in Resources,
  // the other files as built; empty, or what went wrong the first time.
  std::string OpenEach(const std::string& name, const std::vector<Variant>& variants) {
    for (const auto& v : variants) {
      WriteFile(resources + name, v.bytes);
      ui.messages.clear();
      ui.answers.assign(8, AnyButton());
      OstrelStubWindow window;
      Run([&] { window.Event_Open(); });
      for (const auto& m : ui.messages)
        if (m.find("cannot recover") != std::string::npos) return name + ", " + v.what + ": " + m;
      for (const std::string& trouble : {PictureTrouble("the picture", window.PictureCanvas.Backdrop()),
                                         PictureTrouble("the logo", window.LogoCanvas.Backdrop()),
                                         PictureTrouble("the background", window.Backdrop())})
        if (!trouble.empty()) return name + ", " + v.what + ": " + trouble;
    }
    return {};
  }

  std::string bundle, resources;
};

// The record's picture fields at their worst: sizes that do not fit in
// memory or in an int, runs past the expansion's bound, groups left open,
// and one picture just inside every bound.
std::vector<Variant> AbsurdPictures(const std::string& scrambledData) {
  std::string clear = scrambledData;
  ViewConst::DecryptStr(clear);
  const std::string cases[] = {
      "F[50000000],100000,100000", "F[50000001],1,1",          "0[30000000]1[30000000],2,2",
      "F[99999999999999999999],1,1", "FFFFFF,2147483647,2147483647", "FFFFFF,-1,-1",
      "FFFFFF,9e99,9e99",            "F[" + std::string(5000, '9'), "F[49999998],2886,2886",
  };
  std::vector<Variant> out;
  for (int field : {4, 6, 9}) {
    for (const auto& c : cases) {
      std::string fields;
      for (int n = 1; n <= ViewConst::CountFields(clear, "$|~"); ++n)
        fields += (n > 1 ? "$|~" : "") + (n == field ? c : ViewConst::NthField(clear, "$|~", n));
      out.push_back({ViewConst::Encrypt(fields), "field " + std::to_string(field) + " = " + c.substr(0, 40)});
    }
  }
  return out;
}

TEST_F(FaultDamagedBundleTest, ADamagedRecordNeverCrashesHangsOrGrowsWithoutBound) {
  auto d = FullDescription();
  d.picture.pngPath = WritePng("picture.png", {{QColor(255, 0, 0), QColor(0, 0, 255)}});
  d.background = {"", "E[24]", 2, 2};
  Build(d);
  const std::string data = ReadFile(resources + "Data"), text = ReadFile(resources + "TextData");

  const std::string why = RunBounded(60, 400, [&]() -> std::string {
    auto dataVariants = Truncations(data, SpreadLengths(data.size(), 60));
    for (auto& v : RandomDamage(data, 1, 150, 8)) dataVariants.push_back(std::move(v));
    for (auto& v : AbsurdPictures(data)) dataVariants.push_back(std::move(v));
    std::string trouble = OpenEach("Data", dataVariants);
    WriteFile(resources + "Data", data);
    auto textVariants = Truncations(text, SpreadLengths(text.size(), 60));
    for (auto& v : RandomDamage(text, 2, 150, 8)) textVariants.push_back(std::move(v));
    if (trouble.empty()) trouble = OpenEach("TextData", textVariants);
    return trouble;
  });
  EXPECT_EQ(why, "");
}

TEST_F(FaultDamagedBundleTest, ACutPayloadIsReportedAndTheEarlierInstallationKept) {
  const Utf8Locale locale;  // as in the stub: a link must not pass for a file there either
  ASSERT_TRUE(locale.Ok());
  auto d = FullDescription();
  d.executeAfter.clear();
  const std::string payload = MakePayload("payload");
  for (bool withLink : {true, false}) {  // a link sends the archive the general way
    SCOPED_TRACE(withLink ? "general expander" : "fast expander");
    if (!withLink) fs::remove(payload + "/a/readme-link");
    d.payloadFolder = payload;
    Build(d);
    // The expander's own answer, as for a bundle without a manifest: with
    // one, the cut file would be named as damaged before it is expanded.
    fs::remove(resources + "Manifest");
    const std::string data2 = ReadFile(resources + "Data2");
    const size_t directory = FindInScrambled(data2, "PK\x01\x02"), end = FindInScrambled(data2, "PK\x05\x06");
    ASSERT_NE(directory, std::string::npos);
    ASSERT_NE(end, std::string::npos);
    const auto cuts = Truncations(data2, {0, 1, 20, data2.size() / 2, directory - 1, directory, directory + 10,
                                          directory + 49, (directory + end) / 2, end, end + 10, data2.size() - 1});
    for (const auto& cut : cuts) {
      SCOPED_TRACE(cut.what);
      WriteFile(resources + "Data2", cut.bytes);
      ui.messages.clear();
      const std::string installed = At("home/Applications/DemoApp");
      const Tree before = TreeOf(installed);
      auto window = ReadyToInstall();
      window->ExpandFolder();
      // Either the reader made sense of all there was, or the user is told
      // and has what they had.
      if (ui.messages.empty()) {
        EXPECT_EQ(TreeOf(installed), TreeOf(payload));
      } else {
        EXPECT_EQ(ui.messages.size(), 1u);
        EXPECT_TRUE(window->fInstallationFailed);
        EXPECT_NE(ui.messages[0].find("The archive DemoApp.zip could not be expanded: "), std::string::npos)
            << ui.messages[0];
        EXPECT_EQ(TreeOf(installed), before);
      }
      for (const auto& e : fs::directory_iterator(At("home/Applications")))
        EXPECT_EQ(e.path().filename(), "DemoApp") << "left beside the target";
      EXPECT_TRUE(ReadFile(resources + "Data2") == cut.bytes);
    }
  }
}

}  // namespace
}  // namespace ostrel::test
