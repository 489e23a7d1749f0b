#include "payload/manifest.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "fileutil/view_const.h"
#include "framework/runtime.h"
#include "payload/chunked_read.h"

namespace ostrel {
namespace {

bool IsDigest(const std::string& text) {
  if (text.size() != 64) return false;
  for (char c : text)
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  return true;
}

// Contents/Resources of the bundle that holds the running executable.
std::string RunningBundleResources() {
  const std::string executable = fw::ExecutableFile().NativePath();
  const int pos = ViewConst::Pos("/Contents", executable);
  if (pos == 0) return {};
  return executable.substr(0, static_cast<size_t>(pos - 1)) + "/Contents/Resources";
}

}  // namespace

PayloadManifest PayloadManifest::OfRunningBundle() {
  const std::string resources = RunningBundleResources();
  if (resources.empty()) return {};
  std::ifstream in(resources + "/Manifest", std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return Parse(text.str());
}

PayloadManifest PayloadManifest::Parse(const std::string& text) {
  PayloadManifest manifest;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    ManifestEntry entry;
    std::string size, rest;
    if (!(fields >> entry.name >> size >> entry.sha256) || (fields >> rest)) continue;
    if (size.empty() || size.find_first_not_of("0123456789") != std::string::npos || size.size() > 19) continue;
    if (!IsDigest(entry.sha256)) continue;
    entry.size = std::stoull(size);
    manifest.entries_.push_back(std::move(entry));
  }
  return manifest;
}

std::string PayloadManifest::Line(const ManifestEntry& entry) {
  return entry.name + " " + std::to_string(entry.size) + " " + entry.sha256 + "\n";
}

const ManifestEntry* PayloadManifest::Find(const std::string& name) const {
  for (const auto& entry : entries_)
    if (entry.name == name) return &entry;
  return nullptr;
}

PayloadCheck::PayloadCheck(const ManifestEntry* expected) : expected_(expected) {
  if (expected_) sum_ = std::make_unique<fw::Sha256>();
}

void PayloadCheck::Add(const void* data, size_t size) {
  seen_ += size;
  if (sum_) sum_->Add(data, size);
}

bool PayloadCheck::Matches() {
  if (!expected_) return true;
  return seen_ == expected_->size && sum_->HexDigest() == expected_->sha256;
}

std::string DamagedFileMessage(const std::string& name) {
  return "The file " + name + " is damaged: its checksum does not match.";
}

bool PayloadFileIsIntact(const std::string& path) {
  const std::string name = ViewConst::ExtractFileName(path);
  const PayloadManifest manifest = PayloadManifest::OfRunningBundle();
  const ManifestEntry* expected = manifest.Find(name);
  if (!expected) return true;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT;  // a missing file is its user's to report
  PayloadCheck check(expected);
  bool readFailed = false;
  const int error = ReadInChunks(
      fd,
      [&check](const char* data, size_t size) {
        check.Add(data, size);
        return 0;
      },
      readFailed);
  close(fd);
  if (error) {
    fw::MsgBox("The file " + name + " could not be read: " + std::strerror(error) + ".");
    return false;
  }
  if (check.Matches()) return true;
  fw::MsgBox(DamagedFileMessage(name));
  return false;
}

}  // namespace ostrel
