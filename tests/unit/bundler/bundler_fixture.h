// A sandbox for building bundles: a stand-in stub, payload trees, pictures
// written as PNG files, and the bundle read back the way the installer reads it.
#pragma once

#include <QColor>
#include <QImage>

#include <map>
#include <string>
#include <vector>

#include "bundler/setup_description.h"
#include "support/sandbox.h"

namespace ostrel::test {

// One item of a tree on the disc, by its path relative to the tree's root.
struct TreeItem {
  enum Kind { File, Folder, Link } kind = File;
  std::string content;  // a file's bytes or a link's target
  int mode = 0;         // permission bits; 0: not checked
  bool operator==(const TreeItem&) const = default;
};
using Tree = std::map<std::string, TreeItem>;

// Every item below `root`, links not followed.
Tree ReadTree(const std::string& root);

class BundlerTest : public SandboxTest {
 protected:
  void SetUp() override;

  // Writes a PNG made of the rows of colours given.
  std::string WritePng(const std::string& name, const std::vector<std::vector<QColor>>& rows);
  // A small payload folder with nested folders, a link and modes of its own.
  std::string MakePayload(const std::string& name);
  // A description that builds as it is: every field set.
  bundler::SetupDescription FullDescription();

  std::string stub;
};

// examples/demo/demo.setup in the source tree.
std::string DemoDescriptionPath();

// The expanded pixel text of a record picture.
std::string Expanded(std::string pixels);

}  // namespace ostrel::test
