// The stub's entry: the Qt application, the platform and window backends,
// the application's open event, and the one main window.
#include <langinfo.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "core/ostrel_stub_window.h"
#include "framework/qt/qt_platform.h"
#include "framework/qt/qt_ui.h"
#include "framework/qtnet/qt_http_transport.h"
#include "framework/runtime.h"
#include "payload/archives.h"

namespace {

bool gEnding = false;
bool gStarted = false;

// Qt ends a process whose display it cannot open with an abort. Before the
// application stands, a fatal message from Qt is that: say so in one line and
// end like every other run of the stub.
void EndWhenNoDisplay(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (gStarted) {
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    return;
  }
  // Qt's own lines on the way there would only bury the one that matters.
  if (type != QtFatalMsg) return;
  std::fprintf(stderr, "Install: no display could be opened, so the installer cannot show its window (%s).\n",
               std::getenv("DISPLAY") ? "check DISPLAY" : "DISPLAY is not set");
  std::fflush(stderr);
  _exit(0);
}

// A bundle that carries Qt's plugins uses those alone: the system's plugins
// belong to another Qt, which the carried libraries cannot load.
void UseCarriedPlugins() {
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return;
  self[n] = '\0';
  std::string plugins(self);
  plugins.erase(plugins.rfind('/') + 1);
  plugins += "../PlugIns";
  struct stat st;
  if (stat(plugins.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
    QCoreApplication::setLibraryPaths({QString::fromLocal8Bit(plugins.c_str())});
}

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
  UseCarriedPlugins();
  qInstallMessageHandler(EndWhenNoDisplay);
  QApplication app(argc, argv);
  gStarted = true;
  qInstallMessageHandler(nullptr);
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
