// The demo payload generator. Everything comes from a fixed pseudo-random
// sequence, so two runs with the same count write the same bytes.
#include "bundler/demo_payload.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace ostrel::bundler {
namespace {

namespace fs = std::filesystem;

// 2024-01-01 00:00:00 UTC: every item gets this time, for a reproducible archive.
constexpr time_t kFixedTime = 1704067200;
constexpr int kFixedFiles = 5;  // README, script and the three binary files

// SplitMix64: small, fast and the same everywhere.
struct Random {
  uint64_t state;
  uint64_t Next() {
    uint64_t z = (state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  size_t Below(size_t n) { return static_cast<size_t>(Next() % n); }
};

void WriteFile(const fs::path& path, const std::string& content, mode_t mode = 0644) {
  fs::create_directories(path.parent_path());
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (fd < 0) throw std::runtime_error("cannot create " + path.string() + ": " + std::strerror(errno));
  size_t done = 0;
  while (done < content.size()) {
    const ssize_t n = write(fd, content.data() + done, content.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      close(fd);
      throw std::runtime_error("cannot write " + path.string() + ": " + std::strerror(errno));
    }
    done += static_cast<size_t>(n);
  }
  if (close(fd) != 0) throw std::runtime_error("cannot write " + path.string());
  chmod(path.c_str(), mode);  // the umask may have taken bits away
}

// Incompressible bytes, written a piece at a time.
void WriteBinary(const fs::path& path, size_t size, uint64_t seed) {
  fs::create_directories(path.parent_path());
  WriteFile(path, "");
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) throw std::runtime_error("cannot write " + path.string());
  Random r{seed};
  std::vector<uint64_t> piece(8192);
  for (size_t left = size; left > 0;) {
    for (auto& word : piece) word = r.Next();
    const size_t n = std::min(left, piece.size() * sizeof(uint64_t));
    if (std::fwrite(piece.data(), 1, n, f) != n) {
      std::fclose(f);
      throw std::runtime_error("cannot write " + path.string());
    }
    left -= n;
  }
  if (std::fclose(f) != 0) throw std::runtime_error("cannot write " + path.string());
}

// Lines of words until `size` bytes; most files are small, a few are large,
// some are empty.
std::string TextOfSize(const std::string& name, size_t size, Random& r) {
  static const char* const kWords[] = {"install", "folder", "archive", "record", "picture", "label",
                                       "payload", "setup",  "window",  "demo",   "notes",   "ostrel"};
  std::string text;
  for (int line = 1; text.size() < size; ++line) {
    text += name + ", line " + std::to_string(line) + ":";
    for (size_t w = 0, words = 3 + r.Below(9); w < words; ++w) (text += ' ') += kWords[r.Below(12)];
    text += '\n';
  }
  text.resize(size);
  return text;
}

size_t TextSize(size_t index, Random& r) {
  if (index % 47 == 0) return 0;
  if (index % 13 == 0) return 20'000 + r.Below(60'000);
  return 40 + r.Below(4'000);
}

std::string SectionPath(size_t i) {
  char name[32];
  std::snprintf(name, sizeof name, "section-%04zu.txt", i + 1);
  std::string path = "docs/part-" + std::to_string(i % 3 + 1) + "/chapter-" + std::to_string(i / 3 % 5 + 1);
  if (i % 4 == 3) path += "/notes/details";
  return path + "/" + name;
}

void FixTimes(const fs::path& dir) {
  const timespec times[2] = {{kFixedTime, 0}, {kFixedTime, 0}};
  std::vector<fs::path> all{dir};
  for (const auto& e : fs::recursive_directory_iterator(dir)) all.push_back(e.path());
  for (const auto& p : all) utimensat(AT_FDCWD, p.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

}  // namespace

void MakeDemoPayload(const std::string& dir, int files) {
  if (files < 10) throw std::runtime_error("a demo payload has at least 10 files");
  const fs::path root(dir);
  if (fs::exists(fs::symlink_status(root))) throw std::runtime_error(dir + " exists already");
  fs::create_directories(root);
  Random r{static_cast<uint64_t>(files)};

  WriteFile(root / "README.txt",
            "DemoApp\n=======\n\nA demonstration payload of " + std::to_string(files) +
                " files in nested folders, written by ostrel-bundle.\n");
  WriteFile(root / "bin/demoapp", "#!/bin/sh\necho \"DemoApp is installed.\"\n", 0755);
  fs::create_symlink("demoapp", root / "bin/demoapp-current");
  WriteBinary(root / "data/blob-large.bin", 3 * 1024 * 1024, 1);
  WriteBinary(root / "data/blob-medium.bin", 1024 * 1024, 2);
  WriteBinary(root / "data/assets/blob-small.bin", 200 * 1024 + 17, 3);
  fs::create_directories(root / "cache");

  for (size_t i = 0; i < static_cast<size_t>(files - kFixedFiles); ++i) {
    const std::string path = SectionPath(i);
    WriteFile(root / path, TextOfSize(path, TextSize(i, r), r));
  }
  FixTimes(root);
}

}  // namespace ostrel::bundler
