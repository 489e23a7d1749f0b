#include "unit/http/http_fixture.h"

#include <QApplication>

namespace ostrel::test {

void HttpTest::SetUpTestSuite() {
  // One application for the whole binary; the widget tests need it to be a QApplication.
  static int argc = 1;
  static char name[] = "ostrel_unit_tests";
  static char* argv[] = {name, nullptr};
  if (!QCoreApplication::instance()) new QApplication(argc, argv);
}

void HttpTest::SetUp() {
  CoreTest::SetUp();
  transport = std::make_unique<fw::qtnet::QtHttpTransport>();
  fw::InstallHttpTransport(transport.get());
}

void HttpTest::TearDown() {
  fw::InstallHttpTransport(nullptr);
  transport.reset();
  CoreTest::TearDown();
}

std::vector<std::string> HttpTest::HiddenFiles(const std::string& folder) const {
  std::vector<std::string> names;
  for (auto& e : fs::directory_iterator(folder))
    if (e.path().filename().string()[0] == '.') names.push_back(e.path().filename().string());
  return names;
}

}  // namespace ostrel::test
