// Tests that talk HTTP to a real server on 127.0.0.1 through the stub's own
// transport (Qt Network on its thread), with the scripted UI running the
// wait's timers on a virtual clock: a minute of it passes in about a second.
#pragma once

#include <memory>

#include "framework/qtnet/qt_http_transport.h"
#include "support/local_http_server.h"
#include "unit/core/core_fixture.h"

namespace ostrel::test {

class HttpTest : public CoreTest {
 protected:
  static void SetUpTestSuite();
  void SetUp() override;
  void TearDown() override;

  // The files in `folder` whose names begin with a dot: left-over downloads.
  std::vector<std::string> HiddenFiles(const std::string& folder) const;

  LocalHttpServer server;
  std::unique_ptr<fw::qtnet::QtHttpTransport> transport;
};

}  // namespace ostrel::test
