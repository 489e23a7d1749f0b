// The payload archive: one top-level folder holding the tree, scrambled in
// the bundle, and expanded back by the installer's own routines.
#include <archive.h>
#include <archive_entry.h>

#include <gtest/gtest.h>

#include <clocale>

#include "bundler/bundle.h"
#include "bundler/demo_payload.h"
#include "bundler/payload_zip.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"
#include "payload/zip/zip_expand.h"
#include "support/utf8_locale.h"
#include "unit/bundler/bundler_fixture.h"

namespace ostrel::test {
namespace {

struct ZipItem {
  std::string name;
  int type;  // AE_IFREG, AE_IFDIR, AE_IFLNK
  int perm;
  std::string content;
};

// Every entry of a zip archive, read with libarchive's reader.
std::vector<ZipItem> ReadZip(const std::string& path) {
  std::vector<ZipItem> items;
  archive* a = archive_read_new();
  archive_read_support_format_zip(a);
  EXPECT_EQ(archive_read_open_filename(a, path.c_str(), 10240), ARCHIVE_OK) << archive_error_string(a);
  archive_entry* e;
  // A name that the C locale cannot show gives a warning, not an error.
  for (int r; (r = archive_read_next_header(a, &e)) != ARCHIVE_EOF;) {
    if (r < ARCHIVE_WARN) {
      ADD_FAILURE() << archive_error_string(a);
      break;
    }
    ZipItem item{archive_entry_pathname_utf8(e), static_cast<int>(archive_entry_filetype(e)),
                 static_cast<int>(archive_entry_perm(e)), ""};
    if (item.type == AE_IFLNK) item.content = archive_entry_symlink_utf8(e);
    char buffer[8192];
    for (la_ssize_t n; (n = archive_read_data(a, buffer, sizeof buffer)) > 0;) item.content.append(buffer, n);
    items.push_back(item);
  }
  archive_read_free(a);
  return items;
}

// Names are UTF-8 in the archive; like a desktop session, the tests read them
// under a UTF-8 locale (the C locale cannot show "Größe.txt" at all).
class PayloadZipTest : public BundlerTest {
 protected:
  void SetUp() override {
    BundlerTest::SetUp();
    ASSERT_TRUE(locale_.Ok());
  }

 private:
  Utf8Locale locale_;
};

TEST_F(PayloadZipTest, TheArchiveHoldsTheTreeUnderOneTopLevelFolder) {
  const std::string payload = MakePayload("payload");
  const auto sum = bundler::WritePayloadZip(payload, "DemoApp", At("p.zip"));
  EXPECT_EQ(sum.files, 4u);
  EXPECT_EQ(sum.links, 1u);
  EXPECT_EQ(sum.folders, 6u);  // DemoApp, a, a/b, a/b/c, bin, empty

  const auto items = ReadZip(At("p.zip"));
  ASSERT_FALSE(items.empty());
  EXPECT_EQ(items[0].name, "DemoApp/");
  EXPECT_EQ(items[0].type, AE_IFDIR);
  std::map<std::string, ZipItem> byName;
  for (const auto& item : items) {
    EXPECT_EQ(item.name.rfind("DemoApp/", 0), 0u) << item.name;
    byName[item.name] = item;
  }
  // Bytes and modes come back whole through the installer below; a streaming
  // reader, as common tools read, must see the link and the UTF-8 name too.
  EXPECT_EQ(byName["DemoApp/a/readme-link"].type, AE_IFLNK);
  EXPECT_EQ(byName["DemoApp/a/readme-link"].content, "../readme.txt");
  EXPECT_EQ(byName["DemoApp/Größe.txt"].content, "non-ASCII name");
}

TEST_F(PayloadZipTest, TheBundlesPayloadExpandsBackToTheSameTree) {
  auto d = FullDescription();
  const std::string bundle = bundler::BuildBundle(d, stub, At("out"));
  const std::string data2 = bundle + "/Contents/Resources/Data2";
  EXPECT_NE(ReadFile(data2).substr(0, 2), "PK");  // scrambled

  const std::string work = Unscrambled(data2, At("install/DemoApp.zip"));
  EXPECT_EQ(ReadFile(work).substr(0, 2), "PK");
  const auto result = ExpandZipArchive(work, At("install"));
  ASSERT_TRUE(result.ok) << result.error;
  EXPECT_EQ(TreeDiff(d.payloadFolder, At("install/DemoApp")), "");
}

TEST_F(PayloadZipTest, APatchSetupCarriesThePatchFolder) {
  auto d = FullDescription();
  d.installationPatch = true;
  const std::string data2 = bundler::BuildBundle(d, stub, At("out")) + "/Contents/Resources/Data2";
  EXPECT_EQ(ReadZip(Unscrambled(data2, At("w.zip"))).at(0).name, "DemoAppPatch/");
}

TEST_F(PayloadZipTest, OnlyFilesFoldersAndLinksAreStoredAndNotIntoThePayloadItself) {
  auto d = FullDescription();
  EXPECT_THROW(bundler::BuildBundle(d, stub, d.payloadFolder + "/out"), bundler::BadInput);
  ASSERT_EQ(mkfifo((d.payloadFolder + "/pipe").c_str(), 0644), 0);
  EXPECT_THROW(bundler::WritePayloadZip(d.payloadFolder, "DemoApp", At("p.zip")), bundler::BadInput);
  EXPECT_THROW(bundler::WritePayloadZip(At("missing"), "DemoApp", At("p.zip")), bundler::BadInput);
}

TEST_F(PayloadZipTest, TheDemoPayloadIsTheSameTreeEveryTime) {
  bundler::MakeDemoPayload(At("one"), 40);
  bundler::MakeDemoPayload(At("two"), 40);
  EXPECT_EQ(TreeDiff(At("one"), At("two")), "");
  EXPECT_THROW(bundler::MakeDemoPayload(At("one"), 40), std::runtime_error);

  size_t files = 0, deepest = 0, largest = 0;
  for (const auto& [path, content] : TreeOf(At("one"))) {
    if (content == "<dir>" || fs::is_symlink(At("one/" + path))) continue;
    ++files;
    deepest = std::max<size_t>(deepest, std::count(path.begin(), path.end(), '/'));
    largest = std::max(largest, content.size());
  }
  EXPECT_EQ(files, 40u);
  EXPECT_GE(deepest, 4u);
  EXPECT_EQ(largest, 3u * 1024 * 1024);
  EXPECT_EQ(fs::status(At("one/bin/demoapp")).permissions(), fs::perms(0755));
  EXPECT_TRUE(fs::is_symlink(At("one/bin/demoapp-current")));
}

TEST_F(PayloadZipTest, AGeneratedPayloadIsRemadeOnEachBuildButAForeignFolderIsKept) {
  auto d = FullDescription();
  d.payloadFolder.clear();
  d.generatedPayloadFiles = 12;
  const std::string bundle = bundler::BuildBundle(d, stub, At("out"));
  const std::string generated = At("out/payload/DemoApp");
  WriteFile(generated + "/extra.txt", "added by hand");
  bundler::BuildBundle(d, stub, At("out"));
  EXPECT_FALSE(fs::exists(generated + "/extra.txt"));

  ASSERT_TRUE(ViewConst::ZipFileToFolder(Unscrambled(bundle + "/Contents/Resources/Data2", At("w.zip")), At("installed"), true));
  EXPECT_EQ(TreeDiff(generated, At("installed/DemoApp")), "");

  WriteFile(At("out3/payload/DemoApp/mine.txt"), "the user's own");
  EXPECT_THROW(bundler::BuildBundle(d, stub, At("out3")), bundler::BadInput);
  EXPECT_EQ(ReadFile(At("out3/payload/DemoApp/mine.txt")), "the user's own");
}

}  // namespace
}  // namespace ostrel::test
