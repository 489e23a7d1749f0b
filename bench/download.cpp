#include "download.h"

#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <cstdio>

#include "framework/qt/qt_platform.h"
#include "framework/qt/qt_ui.h"
#include "framework/qtnet/qt_http_transport.h"
#include "http/http_client.h"
#include "support/local_http_server.h"

namespace ostrel::bench {

int Serve(int64_t bytes) {
  test::LocalHttpServer server;
  server.Route("/big", {.generated = bytes});
  std::printf("%s\n", server.Url("/big").c_str());
  std::fflush(stdout);
  char c;
  while (read(0, &c, 1) > 0) {
  }
  return 0;
}

int Download(const std::string& url, const std::string& file, char* programName) {
  // The wait is the stub's own modal showing, so the Qt backend runs it
  // (offscreen: nothing is drawn).
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  int argc = 1;
  char* argv[] = {programName, nullptr};
  QApplication app(argc, argv);
  fw::qt::QtPlatform platform;
  fw::qt::QtUI ui;
  fw::Install(&platform, &ui);
  fw::qtnet::QtHttpTransport transport;
  fw::InstallHttpTransport(&transport);

  const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return 1;
  close(fd);
  const auto answer = GlobalsKv::HttpGetToFile(url, 60, file, nullptr);
  fw::InstallHttpTransport(nullptr);
  fw::Install(nullptr, nullptr);
  std::printf("%lld\n", static_cast<long long>(answer.length));
  return answer.length > 0 && answer.stored ? 0 : 1;
}

}  // namespace ostrel::bench
