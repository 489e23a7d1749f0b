// The floor of the toolkit for the start-up row: a plain Qt Widgets program
// that shows one window, started from a bundle that carries the same
// libraries and plugins as the stub's, found the same way.
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QLabel>
#include <string>

int main(int argc, char** argv) {
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n > 0) {
    self[n] = '\0';
    std::string plugins(self);
    plugins.erase(plugins.rfind('/') + 1);
    plugins += "../PlugIns";
    struct stat st;
    if (stat(plugins.c_str(), &st) == 0) QCoreApplication::setLibraryPaths({QString::fromLocal8Bit(plugins.c_str())});
  }
  QApplication app(argc, argv);
  QLabel window("One window");
  window.setWindowTitle("Plain Window");
  window.resize(420, 240);
  window.show();
  return app.exec();
}
