#include "corpus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace ostrel::bench {
namespace {

// splitmix64: small, fast and good enough for made-up content.
class Random {
 public:
  explicit Random(uint64_t seed) : s_(seed) {}
  uint64_t Next() {
    uint64_t z = (s_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  uint64_t Below(uint64_t n) { return Next() % n; }
  double Unit() { return static_cast<double>(Next() >> 11) / 9007199254740992.0; }

 private:
  uint64_t s_;
};

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what + ": " + std::strerror(errno)); }

void WriteWhole(const std::string& path, const std::string& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) Fail("cannot create " + path);
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) Fail("cannot write " + path);
    done += static_cast<size_t>(n);
  }
  if (close(fd) != 0) Fail("cannot write " + path);
}

// Source-code-like text: indented lines of keywords and of names, each file
// with a small set of names of its own, which is what makes real source and
// markup compress three to five times.
class TextMaker {
 public:
  explicit TextMaker(Random& r) : r_(r) {
    for (int i = 0; i < 4000; ++i) {
      std::string w;
      const int len = 3 + static_cast<int>(r_.Below(8));
      for (int j = 0; j < len; ++j) w += static_cast<char>('a' + r_.Below(26));
      words_.push_back(w);
    }
  }
  std::string Make(size_t size) {
    static const char* const kKeywords[] = {"if", "return", "const", "for", "while", "else", "int", "void",
                                            "string", "auto", "static", "struct", "class", "public", "private",
                                            "true", "false", "null", "this", "new", "<div class=", "</div>", "\"name\": "};
    static const char* const kPunct[] = {" ", " ", " ", ", ", "(", ") ", ".", " = ", ";", " {", "}", "->", "[i]", " + 1"};
    std::vector<const std::string*> names;
    for (int i = 0; i < 40; ++i) names.push_back(&words_[r_.Below(words_.size())]);
    std::string s;
    s.reserve(size + 128);
    while (s.size() < size) {
      s.append(2 * r_.Below(4), ' ');
      s += kKeywords[r_.Below(23)];
      s += ' ';
      const int n = 2 + static_cast<int>(r_.Below(6));
      for (int i = 0; i < n; ++i) {
        const double u = r_.Unit();
        s += r_.Below(4) == 0 ? kKeywords[r_.Below(23)] : *names[static_cast<size_t>(u * u * 40)];
        s += kPunct[r_.Below(14)];
      }
      if (r_.Below(8) == 0) s += std::to_string(r_.Below(1000));
      s += '\n';
    }
    s.resize(size);
    return s;
  }

 private:
  Random& r_;
  std::vector<std::string> words_;
};

// 64 KiB blocks of three kinds: random (incompressible, like pictures and
// packed resources), machine-code-like records (a few opcodes and operands
// with random fields, about two to three times), and tables (very
// compressible). `mix` tenths of the blocks are random.
void FillMixed(Random& r, unsigned char* p, size_t size, int mix) {
  static const unsigned char kOps[][4] = {{0x48, 0x89, 0xC7, 0}, {0x48, 0x8B, 0x45, 0}, {0xE8, 0, 0, 0},
                                          {0x0F, 0x1F, 0x44, 0}, {0x85, 0xC0, 0x74, 0}, {0x41, 0x57, 0x41, 0x56}};
  size_t i = 0;
  while (i < size) {
    const size_t block = std::min<size_t>(65536, size - i);
    const uint64_t kind = r.Below(10);
    if (kind < static_cast<uint64_t>(mix)) {
      for (size_t j = 0; j + 8 <= block; j += 8) {
        const uint64_t v = r.Next();
        std::memcpy(p + i + j, &v, 8);
      }
      for (size_t j = block & ~size_t(7); j < block; ++j) p[i + j] = static_cast<unsigned char>(r.Next());
    } else if (kind < 8) {
      for (size_t j = 0; j < block;) {
        const uint64_t v = r.Next();
        const unsigned char* op = kOps[v % 6];
        const unsigned char rec[8] = {op[0], op[1], op[2], op[3], static_cast<unsigned char>(v >> 8),
                                      static_cast<unsigned char>((v >> 16) & 0x0F), 0, 0};
        const size_t n = std::min<size_t>(4 + (v >> 24) % 5, block - j);
        std::memcpy(p + i + j, rec, n);
        j += n;
      }
    } else {
      for (size_t j = 0; j < block; ++j) p[i + j] = static_cast<unsigned char>((j * 7) & 0x3F);
    }
    i += block;
  }
}

void WriteMixed(const std::string& path, uint64_t size, uint64_t seed, int mix) {
  Random r(seed);
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) Fail("cannot create " + path);
  std::vector<unsigned char> buf(1 << 20);
  for (uint64_t left = size; left > 0;) {
    const size_t n = static_cast<size_t>(std::min<uint64_t>(left, buf.size()));
    FillMixed(r, buf.data(), n, mix);
    for (size_t done = 0; done < n;) {
      const ssize_t w = write(fd, buf.data() + done, n - done);
      if (w <= 0) Fail("cannot write " + path);
      done += static_cast<size_t>(w);
    }
    left -= n;
  }
  if (close(fd) != 0) Fail("cannot write " + path);
}

}  // namespace

CorpusShape ScaledShape(uint64_t megabytes) {
  const CorpusShape full;
  const double f = static_cast<double>(megabytes) * 1000000 / static_cast<double>(full.smallBytes + full.largeBytes);
  auto scaled = [f](double n) { return std::max(1, static_cast<int>(n * f)); };
  return {scaled(full.folders), scaled(full.smallFiles), scaled(full.largeFiles),
          static_cast<uint64_t>(static_cast<double>(full.smallBytes) * f),
          static_cast<uint64_t>(static_cast<double>(full.largeBytes) * f)};
}

CorpusSummary WriteCorpusTree(const std::string& top, const CorpusShape& shape) {
  Random r(20240601);
  TextMaker text(r);
  CorpusSummary sum;
  static const char* const kFolderWords[] = {"core", "lib", "res", "ui", "net", "data", "util", "io", "doc", "img"};
  static const char* const kExt[] = {".txt", ".h", ".cpp", ".js", ".json", ".xml", ".css", ".html", ".py", ".md"};

  // Eight children per folder, filled in order: a tree four or five deep.
  std::vector<std::string> folders{top};
  if (mkdir(top.c_str(), 0755) != 0) Fail("cannot create " + top);
  for (int i = 1; i < shape.folders; ++i) {
    const std::string path = folders[static_cast<size_t>((i - 1) / 8)] + "/" + kFolderWords[r.Below(10)] + "_" + std::to_string(i);
    if (mkdir(path.c_str(), 0755) != 0) Fail("cannot create " + path);
    folders.push_back(path);
  }
  sum.folders = folders.size();

  // Sizes spread log-uniformly from 200 bytes, scaled to the wished total.
  std::vector<double> sizes(static_cast<size_t>(shape.smallFiles));
  double total = 0;
  for (auto& s : sizes) total += (s = 200.0 * std::exp(r.Unit() * std::log(600.0)));
  const double scale = static_cast<double>(shape.smallBytes) / total;
  for (int i = 0; i < shape.smallFiles; ++i) {
    const std::string path = folders[r.Below(folders.size())] + "/file_" + std::to_string(i) + kExt[r.Below(10)];
    const std::string content = text.Make(static_cast<size_t>(sizes[static_cast<size_t>(i)] * scale));
    WriteWhole(path, content);
    sum.bytes += content.size();
    ++sum.files;
  }

  // Large binaries: sizes from half to one and a half times the mean.
  const uint64_t mean = shape.largeBytes / static_cast<uint64_t>(std::max(shape.largeFiles, 1));
  for (int i = 0; i < shape.largeFiles; ++i) {
    const uint64_t size = mean / 2 + r.Below(mean);
    const std::string path = folders[r.Below(std::min<size_t>(folders.size(), 80))] + "/blob_" + std::to_string(i) + ".bin";
    WriteMixed(path, size, 1000 + static_cast<uint64_t>(i), 2 + i % 5);
    sum.bytes += size;
    ++sum.files;
  }
  return sum;
}

void WriteLargeFile(const std::string& path, uint64_t size) { WriteMixed(path, size, 77, 4); }

}  // namespace ostrel::bench
