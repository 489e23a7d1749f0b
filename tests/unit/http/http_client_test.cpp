// The blocking HTTP calls against a real server: what comes back for each
// kind of answer, and how long the wait lasts.
#include <gtest/gtest.h>

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

TEST_F(HttpTest, ABrokenTransferAnswersEmpty) {
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
}

TEST_F(HttpTest, ACertificateThatNobodyVouchesForIsRefused) {
  LocalHttpServer tls(true);
  tls.Route("/ok", {.body = "served over TLS"});
  const std::string url = "https://127.0.0.1:" + std::to_string(tls.Port()) + "/ok";
  EXPECT_EQ(GlobalsKv::HttpGet(url, 60), "");
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

}  // namespace
}  // namespace ostrel::test
