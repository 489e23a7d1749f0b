// A sandbox for building bundles: a stand-in stub, payload trees, pictures
// written as PNG files, and the bundle read back the way the installer reads it.
#pragma once

#include <QColor>
#include <QImage>

#include <string>
#include <vector>

#include "bundler/setup_description.h"
#include "support/sandbox.h"
#include "support/snapshot.h"

namespace ostrel::test {

class BundlerTest : public SandboxTest {
 protected:
  void SetUp() override;

  // Writes a PNG made of the rows of colours given.
  std::string WritePng(const std::string& name, const std::vector<std::vector<QColor>>& rows);
  // A small payload folder with nested folders, a link and modes of its own.
  std::string MakePayload(const std::string& name);
  // A description that builds as it is: every field set.
  bundler::SetupDescription FullDescription();
  // Copies a scrambled archive of the bundle (Data2, Data3) to `to`, unscrambled there.
  std::string Unscrambled(const std::string& scrambled, const std::string& to) const;

  std::string stub;
};

// examples/demo/demo.setup in the source tree.
std::string DemoDescriptionPath();

// The expanded pixel text of a record picture.
std::string Expanded(std::string pixels);

}  // namespace ostrel::test
