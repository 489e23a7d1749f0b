#include "unit/core/core_fixture.h"

#include "fileutil/view_const.h"

namespace ostrel::test {

std::string SetupRecord::Join(const std::map<int, std::string>& fields, const std::string& separator) {
  if (fields.empty()) return {};
  std::string out;
  for (int n = 1; n <= fields.rbegin()->first; ++n) {
    if (n > 1) out += separator;
    auto it = fields.find(n);
    if (it != fields.end()) out += it->second;
  }
  return out;
}

void CoreTest::SetUp() {
  SandboxTest::SetUp();
  platform.executablePath = At("Setup.app/Contents/MacOS/Setup");
  WriteFile(platform.executablePath, "#!/bin/false\n");
}

void CoreTest::WriteRecord(const SetupRecord& record) {
  if (!record.data.empty()) WriteRawData(ViewConst::Encrypt(record.ClearData()));
  if (!record.text.empty()) WriteTextData(record.TextData());
}

void CoreTest::WriteScrambledZip(const std::string& name, const std::vector<ZipEntry>& entries) const {
  fs::create_directories(Resources());
  WriteZip(Resources() + "/" + name, entries);
  ViewConst::EncryptDecryptFileEnd(Resources() + "/" + name, true);
}

SetupRecord PlainRecord() {
  SetupRecord r;
  r.data = {{1, "20240101"}, {12, ""}};
  r.text = {{2, "Welcome"}, {30, "0"}};
  return r;
}

}  // namespace ostrel::test
