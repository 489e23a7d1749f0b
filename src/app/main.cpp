// The stub's entry: the Qt application, the platform and window backends,
// the application's open event, and the one main window.
#include <langinfo.h>
#include <unistd.h>

#include <QApplication>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "core/ostrel_stub_window.h"
#include "framework/qt/qt_platform.h"
#include "framework/qt/qt_ui.h"
#include "framework/qtnet/qt_http_transport.h"
#include "framework/runtime.h"
#include "payload/archives.h"

namespace {

bool gEnding = false;

// Every run ends with exit code 0, also when the process is ended from
// inside Qt (it exits with 1 when the X connection breaks under it).
void EndWithZero() {
  if (gEnding) return;
  std::fflush(nullptr);
  _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
  std::atexit(EndWithZero);
  QApplication app(argc, argv);
  // Archive names are UTF-8; under a non-UTF-8 locale (plain "C") libarchive
  // cannot convert them and would drop such entries.
  if (strcmp(nl_langinfo(CODESET), "UTF-8") != 0) setlocale(LC_CTYPE, "C.UTF-8");
  QApplication::setApplicationName("Install");
  // Windows hide and show across the run; only a Quit ends it.
  QApplication::setQuitOnLastWindowClosed(false);

  fw::qt::QtPlatform platform;
  fw::qt::QtUI ui;
  fw::Install(&platform, &ui);
  fw::qtnet::QtHttpTransport http;
  fw::InstallHttpTransport(&http);

  std::unique_ptr<OstrelStubWindow> window;
  std::optional<int> code = fw::RunGuarded([&] {
    App().Event_Open();
    ostrel::RegisterZipOpener();
    window = std::make_unique<OstrelStubWindow>();
    window->Event_Open();
  });
  if (!code) {
    // Startup left the window waiting for its buttons.
    code = fw::RunGuarded([&] { window->Show(); });
    if (!code) code = ui.Exec();
  }

  // Windows release their widgets while the backends still stand.
  window.reset();
  fw::InstallHttpTransport(nullptr);
  fw::Install(nullptr, nullptr);
  gEnding = true;
  return *code;
}
