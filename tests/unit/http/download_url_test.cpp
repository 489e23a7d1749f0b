// Downloads through DownloadURL and the streaming GET beneath it: the size
// rule, one more try, pins, and what is left on the disc.
#include <gtest/gtest.h>

#include <fstream>

#include "framework/sha256.h"
#include "http/http_client.h"
#include "unit/http/http_fixture.h"

namespace ostrel::test {
namespace {

class DownloadUrlTest : public HttpTest {
 protected:
  void SetUp() override {
    HttpTest::SetUp();
    fs::create_directories(At("apps/Tool"));
    WriteFile(At("apps/Tool/pack.zip"), "the user's own");
  }
  bool Download(const std::string& path, const std::string& pin = "") {
    return window->DownloadURL(server.Url(path), "pack.zip", At("apps/Tool/Extras"), false, pin);
  }
  size_t RequestsFor(const std::string& path) {
    size_t n = 0;
    for (const auto& r : server.Requests()) n += r.path == path;
    return n;
  }
  void ExpectNothingLeft() {
    EXPECT_EQ(HiddenFiles(At("apps/Tool")), std::vector<std::string>{});
    EXPECT_FALSE(fs::exists(At("apps/Tool/Extras")));
    EXPECT_EQ(ReadFile(At("apps/Tool/pack.zip")), "the user's own");
  }
};

TEST_F(DownloadUrlTest, TheSizeRuleAndOneMoreTry) {
  server.Route("/9999", {.body = std::string(9999, 'x')});
  server.Route("/10000", {.body = std::string(10000, 'x')});
  server.Route("/404", {.status = 404, .body = "gone"});
  EXPECT_FALSE(Download("/9999"));
  EXPECT_FALSE(Download("/404"));
  EXPECT_EQ(ui.messages, (std::vector<std::string>{"Setup file download failed.", "Setup file download failed."}));
  EXPECT_EQ(RequestsFor("/9999"), 2u);
  ExpectNothingLeft();

  // Big enough, so it is stored and handed on; not an archive, so that fails quietly.
  ui.messages.clear();
  EXPECT_FALSE(Download("/10000"));
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(RequestsFor("/10000"), 1u);
  EXPECT_EQ(HiddenFiles(At("apps/Tool")), std::vector<std::string>{});
}

TEST_F(DownloadUrlTest, AWrongPinIsRefusedBeforeAnythingIsExpanded) {
  server.Route("/page", {.body = std::string(20000, 'p')});
  EXPECT_FALSE(Download("/page", "sha256=" + std::string(64, 'a')));
  EXPECT_EQ(ui.messages, std::vector<std::string>{"The archive pack.zip is damaged: its checksum does not match."});
  EXPECT_EQ(RequestsFor("/page"), 2u);
  ExpectNothingLeft();

  // No folder to put the download in: it is never asked for.
  ui.messages.clear();
  EXPECT_FALSE(window->DownloadURL(server.Url("/page"), "pack.zip", At("nowhere/Tool/Extras"), false));
  EXPECT_EQ(ui.messages, std::vector<std::string>{"Install of download failed.  Check account permissions."});
  EXPECT_EQ(RequestsFor("/page"), 2u);
}

size_t ResidentBytes() {
  std::ifstream status("/proc/self/status");
  std::string key;
  size_t kib = 0;
  while (status >> key)
    if (key == "VmRSS:") status >> kib;
  return kib * 1024;
}

TEST_F(DownloadUrlTest, ALargeBodyStreamsIntoItsFileThroughLittleMemory) {
  constexpr int64_t kSize = 256LL << 20;
  server.Route("/large", {.generated = kSize});
  WriteFile(At("large"), "");
  const size_t before = ResidentBytes();
  size_t peak = before;
  int64_t announced = 0;
  const auto answer = GlobalsKv::HttpGetToFile(server.Url("/large"), 60, At("large"), [&](int64_t, int64_t length) {
    peak = std::max(peak, ResidentBytes());
    announced = length;
  });
  EXPECT_TRUE(answer.stored);
  EXPECT_EQ(answer.length, kSize);
  EXPECT_EQ(announced, kSize);
  EXPECT_EQ(static_cast<int64_t>(fs::file_size(At("large"))), kSize);
#ifndef __SANITIZE_ADDRESS__
  // (The address sanitizer holds freed memory back, so its build is not measured.)
  EXPECT_LT(peak - before, 64u << 20);
#endif
  // The pattern's blocks follow each other unchanged to the end.
  std::ifstream in(At("large"), std::ios::binary);
  in.seekg(kSize - (1 << 20));
  std::string tail(1 << 20, '\0');
  in.read(tail.data(), static_cast<std::streamsize>(tail.size()));
  EXPECT_EQ(tail, LocalHttpServer::Pattern(1 << 20));
}

}  // namespace
}  // namespace ostrel::test
