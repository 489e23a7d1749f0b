// The blocking HTTP calls against a real server: what comes back for each
// kind of answer and how long the wait lasts; and the downloads through
// DownloadURL and the streaming GET beneath it: the size rule, one more try,
// pins, and what is left on the disc.
#include <gtest/gtest.h>

#include <fstream>

#include "framework/sha256.h"
#include "http/http_client.h"
#include "unit/http/http_fixture.h"

namespace ostrel::test {
namespace {

using namespace std::chrono_literals;

TEST_F(HttpTest, ThePageIsTheAnswerWhateverItsStatus) {
  server.Route("/ok", {.body = "the page"});
  server.Route("/missing", {.status = 404, .body = "not here, but a page"});
  server.Route("/empty", {.body = ""});
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/ok"), 60), "the page");
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/missing"), 60), "not here, but a page");
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/empty"), 60), "");

  std::string post;
  for (auto [name, value] : {std::pair{"a", "1"}, {"b", "x%20y"}, {"c", ""}}) GlobalsKv::PostDataAppend(post, name, value);
  EXPECT_EQ(post, "a=1&b=x%20y&c=");
  EXPECT_EQ(GlobalsKv::HttpPost(server.Url("/ok"), post, 60), "the page");
  EXPECT_EQ(GlobalsKv::HttpPostNew(server.Url("/ok"), "", 60), "the page");

  const auto seen = server.Requests();
  ASSERT_EQ(seen.size(), 5u);
  for (const auto& r : seen) EXPECT_EQ(r.userAgent, "Sorrelkin");
  EXPECT_EQ(seen[3].method, "POST");
  EXPECT_EQ(seen[3].contentType, "application/x-www-form-urlencoded");
  EXPECT_EQ(seen[3].body, post);
  EXPECT_EQ(seen[4].method, "GET");  // an empty post is a GET
  // The answer ends the wait, not the next whole second.
  EXPECT_LT(ui.timerClockMs, 5 * 1000);
}

TEST_F(HttpTest, ABrokenTransferOrAnUntrustedServerAnswersEmpty) {
  server.Route("/short", {.body = std::string(5000, 's'), .announced = 20000});
  server.Route("/to-file", {.status = 302, .body = "moved", .location = "file:///etc/passwd"});
  // Redirect chains: /five0 reaches its page in five hops, /six0 in six.
  for (auto [name, hops] : {std::pair{"/five", 5}, {"/six", 6}}) {
    for (int i = 0; i < hops; ++i)
      server.Route(name + std::to_string(i), {.status = 302, .location = server.Url(name + std::to_string(i + 1))});
    server.Route(name + std::to_string(hops), {.body = std::string(name) + " hops away"});
  }

  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/short"), 60), "");
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/to-file"), 60), "");
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/five0"), 60), "/five hops away");
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/six0"), 60), "");
  EXPECT_EQ(GlobalsKv::HttpGet("http://127.0.0.1:1/closed", 60), "");
  EXPECT_EQ(GlobalsKv::HttpGet("ftp://127.0.0.1/file", 60), "");
  EXPECT_EQ(GlobalsKv::HttpGet("not a url", 60), "");
  // Blanks and braces are encoded on the way, as a browser does.
  server.Route("/my%20file%7B1%7D%5E.zip", {.body = "escaped"});
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/my file{1}^.zip"), 60), "escaped");

  // A certificate that nobody vouches for: refused before the request is sent.
  LocalHttpServer tls(true);
  tls.Route("/ok", {.body = "served over TLS"});
  EXPECT_EQ(GlobalsKv::HttpGet("https://127.0.0.1:" + std::to_string(tls.Port()) + "/ok", 60), "");
  EXPECT_TRUE(tls.Requests().empty());
}

TEST_F(HttpTest, SilenceEndsTheWaitButASlowDripDoesNot) {
  // About five virtual seconds between pieces, two and a half minutes in all.
  server.Route("/drip", {.body = LocalHttpServer::Pattern(3000), .dripBytes = 100, .dripPause = 100ms});
  server.Route("/silent", {.silent = true});

  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/drip"), 60), LocalHttpServer::Pattern(3000));
  EXPECT_GT(ui.timerClockMs, 90 * 1000);  // far longer than the limit, in all

  const int64_t before = ui.timerClockMs;
  EXPECT_EQ(GlobalsKv::HttpGet(server.Url("/silent"), 60), "");
  EXPECT_GE(ui.timerClockMs - before, 60 * 1000);
  EXPECT_LT(ui.timerClockMs - before, 61 * 1000);
}

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
  EXPECT_EQ(RequestsFor("/404"), 1u);  // the server said no: not asked again
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
