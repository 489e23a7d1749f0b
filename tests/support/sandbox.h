// Every test runs in a sandbox of its own: a fresh folder on the disc with
// the special folders inside it, the virtual platform and the scripted UI
// installed, and the module globals set as the application sets them. A
// test may register the zip opener; its expansions are waited for and the
// opener is gone again after the test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "framework/testing/scripted_ui.h"
#include "framework/testing/virtual_platform.h"

namespace ostrel::test {

namespace fs = std::filesystem;

class SandboxTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Runs logic as the top level would; the exit code when it quit.
  std::optional<int> Run(const std::function<void()>& body) { return fw::RunGuarded(body); }

  // A path inside the sandbox.
  std::string At(const std::string& relative) const { return (root / relative).string(); }
  void WriteFile(const std::string& path, const std::string& content) const;
  std::string ReadFile(const std::string& path) const;

  fs::path root;
  fw::testing::VirtualPlatform platform;
  fw::testing::ScriptedUI ui;
};

// Bytes that no compression shrinks, the same for the same seed.
std::string RandomBytes(size_t n, unsigned seed);

}  // namespace ostrel::test
