// The benchmark corpus: a tree shaped like an application's payload (many
// small text-like files in a few thousand folders, some large binaries of
// mixed compressibility) and one large file for the scrambling pass. The
// content comes from a fixed seed, so every run measures the same bytes.
#pragma once

#include <cstdint>
#include <string>

namespace ostrel::bench {

struct CorpusShape {
  int folders = 2500;
  int smallFiles = 19980;
  int largeFiles = 20;
  uint64_t smallBytes = 300000000;  // about, spread over the small files
  uint64_t largeBytes = 280000000;  // about, spread over the large files
};

// The same shape at about `megabytes` (the full one is about 580).
CorpusShape ScaledShape(uint64_t megabytes);

struct CorpusSummary {
  uint64_t files = 0, folders = 0, bytes = 0;
};

// Writes the tree below `top`, which must not exist yet.
CorpusSummary WriteCorpusTree(const std::string& top, const CorpusShape& shape = {});

// Writes a file of `size` bytes of mixed content at `path`.
void WriteLargeFile(const std::string& path, uint64_t size);

}  // namespace ostrel::bench
