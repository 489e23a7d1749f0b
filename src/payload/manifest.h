// The bundle's integrity manifest, Contents/Resources/Manifest, written by
// the bundle builder: one line per payload file (Data2, each Data# piece,
// Data3), "NAME SIZE SHA256" with the size in bytes and the digest as 64
// lower-case hexadecimal digits, fields apart by one blank. A bundle without
// a manifest is used as it is; a file the manifest does not list is not
// checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "framework/sha256.h"

namespace ostrel {

struct ManifestEntry {
  std::string name;
  uint64_t size = 0;
  std::string sha256;
};

class PayloadManifest {
 public:
  // The manifest in the Resources folder of the running bundle; empty when
  // there is none. A line that does not read as an entry is passed over.
  static PayloadManifest OfRunningBundle();
  static PayloadManifest Parse(const std::string& text);
  static std::string Line(const ManifestEntry& entry);

  bool Empty() const { return entries_.empty(); }
  const ManifestEntry* Find(const std::string& name) const;
  const std::vector<ManifestEntry>& Entries() const { return entries_; }

 private:
  std::vector<ManifestEntry> entries_;
};

// Compares a file's bytes, as they stream past, with its entry; without an
// entry there is nothing to compare and every file matches.
class PayloadCheck {
 public:
  explicit PayloadCheck(const ManifestEntry* expected);
  void Add(const void* data, size_t size);
  bool Matches();

 private:
  const ManifestEntry* expected_;
  uint64_t seen_ = 0;
  std::unique_ptr<fw::Sha256> sum_;
};

// "The file <name> is damaged: its checksum does not match."
std::string DamagedFileMessage(const std::string& name);

// The check before the stub uses a payload file of its bundle (Data2,
// Data#1, Data3): true when the file may be used. Otherwise the user has
// been told that it is damaged (or cannot be read), and it is not to be used.
bool PayloadFileIsIntact(const std::string& path);

}  // namespace ostrel
