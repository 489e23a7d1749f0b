// A sandboxed installer bundle with a setup record and archives written the
// way the authoring tool writes them, and the main window that reads them.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/ostrel_stub_window.h"
#include "payload/archives.h"
#include "support/sandbox.h"
#include "support/zip_fixture.h"

namespace ostrel::test {

// The record's fields by number; the files are joined up to the highest one.
struct SetupRecord {
  std::map<int, std::string> data;
  std::map<int, std::string> text;

  std::string ClearData() const { return Join(data, "$|~"); }
  std::string TextData() const { return Join(text, "|#|"); }
  static std::string Join(const std::map<int, std::string>& fields, const std::string& separator);
};

class CoreTest : public SandboxTest {
 protected:
  void SetUp() override;

  std::string Resources() const { return At("Setup.app/Contents/Resources"); }
  // Writes Data enciphered and TextData plain; an absent file stays absent.
  void WriteRecord(const SetupRecord& record);
  void WriteRawData(const std::string& bytes) const { WriteFile(Resources() + "/Data", bytes); }
  void WriteTextData(const std::string& text) const { WriteFile(Resources() + "/TextData", text); }
  // Writes the entries as a zip archive in Resources, scrambled over its
  // whole length as the bundle carries Data2 and Data3.
  void WriteScrambledZip(const std::string& name, const std::vector<ZipEntry>& entries) const;

  // Runs the window's open event as the application does; the exit code when it quit.
  std::optional<int> Open() { return Run([&] { window->Event_Open(); }); }

  std::unique_ptr<OstrelStubWindow> window = std::make_unique<OstrelStubWindow>();
};

// A minimal record that passes every gate of startup.
SetupRecord PlainRecord();

}  // namespace ostrel::test
