// The archive expander. Each input is written as a zip into a private
// folder and expanded into a fresh destination deep inside it. Whatever the
// archive holds, nothing may appear outside the destination, no link left in
// it may lead out, and no special file or setuid bit may be made.
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "framework/testing/scratch_tree.h"
#include "fuzz_support.h"
#include "payload/archives.h"

using ostrel::fuzz::Check;
namespace fs = std::filesystem;

namespace {

// The layout below the scratch folder; the destination sits deep so that an
// escape of a few levels still lands where it is seen.
struct Layout {
  fs::path root, archive, box, destination, canary;
  std::set<fs::path> expected;  // every path outside the destination
};

const Layout& GetLayout() {
  static const Layout layout = [] {
    Layout l;
    l.root = ostrel::fuzz::GetSeams().scratch / "archive";
    l.archive = l.root / "input.zip";
    l.box = l.root / "a" / "b" / "c" / "d";
    l.destination = l.box / "dest";
    l.canary = l.box / "canary";
    fs::create_directories(l.canary);
    for (fs::path p = l.canary; p != l.root; p = p.parent_path()) l.expected.insert(p);
    l.expected.insert(l.archive);
    return l;
  }();
  return layout;
}

std::vector<std::string> Parts(const std::string& path) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= path.size()) {
    size_t slash = path.find('/', start);
    if (slash == std::string::npos) slash = path.size();
    if (slash > start) parts.push_back(path.substr(start, slash - start));
    start = slash + 1;
  }
  return parts;
}

// Where an absolute path leads, resolved part by part as the system does,
// following the links on the disc and taking missing parts as written.
// Empty for a loop of links, which the system refuses to follow.
std::string Resolve(const std::string& absolute) {
  std::vector<std::string> done;
  std::deque<std::string> todo;
  for (auto& p : Parts(absolute)) todo.push_back(p);
  int hops = 0;
  while (!todo.empty()) {
    const std::string part = todo.front();
    todo.pop_front();
    if (part == ".") continue;
    if (part == "..") {
      if (!done.empty()) done.pop_back();
      continue;
    }
    std::string here;
    for (auto& d : done) here += "/" + d;
    here += "/" + part;
    std::error_code ec;
    if (fs::is_symlink(fs::symlink_status(here, ec))) {
      if (++hops > 40) return {};
      const std::string target = fs::read_symlink(here, ec).string();
      if (!target.empty() && target[0] == '/') done.clear();
      const auto parts = Parts(target);
      todo.insert(todo.begin(), parts.begin(), parts.end());
      continue;
    }
    done.push_back(part);
  }
  std::string out;
  for (auto& d : done) out += "/" + d;
  return out.empty() ? "/" : out;
}

bool Inside(const std::string& path, const std::string& folder) {
  return path == folder || path.rfind(folder + "/", 0) == 0;
}

void CheckNothingOutside(const Layout& l, const std::string& input) {
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(l.root, ec); it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    const fs::path p = it->path();
    if (p == l.destination) {
      it.disable_recursion_pending();
      continue;
    }
    Check(p == l.canary || !Inside(p.string(), l.canary.string()), "a file appeared in the canary folder: " + p.string());
    Check(l.expected.count(p) == 1, "a file appeared outside the destination: " + p.string());
  }
  std::ifstream in(l.archive, std::ios::binary);
  const std::string now((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  Check(now == input, "the archive itself was overwritten");
}

void CheckDestination(const Layout& l) {
  std::error_code ec;
  const std::string dest = l.destination.string();
  for (auto it = fs::recursive_directory_iterator(l.destination, ec); it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    struct stat st;
    Check(lstat(it->path().c_str(), &st) == 0, "an entry vanished while it was checked");
    Check(S_ISREG(st.st_mode) || S_ISDIR(st.st_mode) || S_ISLNK(st.st_mode),
          "a device, pipe or socket was made: " + it->path().string());
    Check((st.st_mode & (S_ISUID | S_ISGID)) == 0, "a setuid or setgid bit was kept: " + it->path().string());
    if (S_ISLNK(st.st_mode)) {
      const std::string leads = Resolve(it->path().string());
      Check(leads.empty() || Inside(leads, dest), "a link leads out: " + it->path().string() + " -> " + leads);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ostrel::fuzz::GetSeams().Reset();
  const Layout& l = GetLayout();
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::ofstream(l.archive, std::ios::binary | std::ios::trunc) << input;

  ViewConst::ZipFileToFolder(l.archive.string(), l.destination.string(), false);

  CheckNothingOutside(l, input);
  CheckDestination(l);
  fw::testing::RemoveScratchTree(l.destination);
  return 0;
}
