#include "support/sandbox.h"

#include "framework/testing/scratch_tree.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include "core/ostrel_stub_window.h"
#include "payload/zip/zip_opener.h"

namespace ostrel::test {

void SandboxTest::SetUp() {
  std::string tmpl = (fs::temp_directory_path() / "ostrel-test-XXXXXX").string();
  ASSERT_NE(mkdtemp(tmpl.data()), nullptr);
  root = fs::canonical(tmpl);
  for (auto d : {"tmp", "home", "home/Desktop", "home/Applications", "usr", "shared"}) fs::create_directories(root / d);
  platform.folders = {
      {fw::SpecialFolderKind::Temporary, At("tmp")},
      {fw::SpecialFolderKind::Home, At("home")},
      {fw::SpecialFolderKind::Desktop, At("home/Desktop")},
      {fw::SpecialFolderKind::Applications, At("home/Applications")},
      {fw::SpecialFolderKind::System, At("usr")},
      {fw::SpecialFolderKind::Shared, At("shared")},
  };
  platform.facts = {{"ramm", 16000}, {"sys1", 16}, {"sys2", 1}};
  fw::Install(&platform, &ui);
  App().Event_Open();
}

void SandboxTest::TearDown() {
  // Expansions a test started end before their folders go.
  WaitForZipExpansions();
  fw::RegisterOpener(".zip", nullptr);
  fw::Install(nullptr, nullptr);
  fw::testing::RemoveScratchTree(root);
}

void SandboxTest::WriteFile(const std::string& path, const std::string& content) const {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

std::string SandboxTest::ReadFile(const std::string& path) const {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string RandomBytes(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::string s(n, '\0');
  for (auto& c : s) c = static_cast<char>(gen());
  return s;
}

}  // namespace ostrel::test
