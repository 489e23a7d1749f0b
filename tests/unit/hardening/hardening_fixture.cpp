#include "hardening_fixture.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"
#include "payload/zip/zip_opener.h"

namespace ostrel::test {
namespace {

// Walks below an open folder by descriptor, so that trees deeper than a
// path can name are walked too. `visit` gets the open parent, the name and
// the path relative to the walk's start.
void WalkAt(int dir, const std::string& relative,
            const std::function<void(int, const std::string&, const std::string&, const struct stat&)>& visit) {
  const int listing = dup(dir);
  DIR* d = listing < 0 ? nullptr : fdopendir(listing);
  if (!d) {
    if (listing >= 0) close(listing);
    return;
  }
  std::vector<std::string> names;
  while (dirent* e = readdir(d))
    if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") names.push_back(e->d_name);
  closedir(d);
  for (const auto& name : names) {
    struct stat st;
    if (fstatat(dir, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
    const std::string path = relative.empty() ? name : relative + "/" + name;
    visit(dir, name, path, st);
    if (!S_ISDIR(st.st_mode)) continue;
    const int sub = openat(dir, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (sub < 0) continue;
    WalkAt(sub, path, visit);
    close(sub);
  }
}

}  // namespace

const char* RouteName(Route r) { return r == Route::ZipFileToFolder ? "ZipFileToFolder" : "opener"; }

void HardeningTest::SetUp() {
  SandboxTest::SetUp();
  fs::create_directories(Dest());
  fs::create_directories(At("archives"));
  WriteFile(Canary() + "/keep.txt", "the canary's own file");
  WriteFile(Canary() + "/sub/deeper.txt", "deeper");
  WriteFile(At("parent/neighbour.txt"), "beside the destination");
  RegisterZipOpener();
  Remember();
}

void HardeningTest::TearDown() {
  WaitForZipExpansions();
  ViewConst::DeleteFolderOrApp(Dest());  // a tree too deep for a path to name
  SandboxTest::TearDown();
}

Outcome HardeningTest::Expand(const std::string& zipBytes, Route route) {
  Outcome outcome;
  outcome.route = route;
  if (route == Route::ZipFileToFolder) {
    WriteFile(At("archives/hostile.zip"), zipBytes);
    outcome.ok = ViewConst::ZipFileToFolder(At("archives/hostile.zip"), Dest(), false);
    outcome.archiveUnchanged = ReadFile(At("archives/hostile.zip")) == zipBytes;
    fs::remove(At("archives/hostile.zip"));
    return outcome;
  }
  // The opener expands the archive into the folder that holds it.
  const std::string archive = Dest() + "/hostile.zip";
  WriteFile(archive, zipBytes);
  fw::Launch(archive, true);
  OstrelStubWindow window;
  window.ZipFileProcess(archive, fw::FolderItem(archive));
  outcome.message = window.fExpansionError;
  outcome.ok = outcome.message.empty();
  outcome.archiveUnchanged = ReadFile(archive) == zipBytes;
  unlink(archive.c_str());
  return outcome;
}

bool HardeningTest::OutsideUnchanged(const std::string& context) {
  const Snapshot now = TakeSnapshot(root, {"parent/App"});
  if (now == outside_) return true;
  ADD_FAILURE() << "outside the destination " << context << ":\n" << SnapshotDiff(outside_, now);
  return false;
}

bool HardeningTest::DestHoldsOnlySafeItems() {
  const int dir = open(Dest().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return true;
  const fs::path dest = fs::canonical(Dest());
  bool safe = true;
  WalkAt(dir, "", [&](int, const std::string&, const std::string& rel, const struct stat& st) {
    if (!S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode) && !S_ISLNK(st.st_mode)) {
      ADD_FAILURE() << "a special item was made: " << rel;
      safe = false;
    }
    if (st.st_mode & (S_ISUID | S_ISGID | S_ISVTX)) {
      ADD_FAILURE() << "a setuid, setgid or sticky bit survived: " << rel;
      safe = false;
    }
    if (!S_ISLNK(st.st_mode) || rel.size() > 3000) return;
    std::error_code ec;
    const fs::path resolved = fs::weakly_canonical(dest / rel, ec);
    auto d = dest.begin();
    auto r = resolved.begin();
    for (; d != dest.end() && r != resolved.end() && *d == *r; ++d, ++r) {
    }
    if (ec || d != dest.end()) {
      ADD_FAILURE() << "the link " << rel << " leads out, to " << resolved;
      safe = false;
    }
  });
  close(dir);
  return safe;
}

void HardeningTest::ClearDest() {
  // Item by item: the destination may be a volume's mount point, which the
  // file layer never removes as a whole.
  for (const auto& e : fs::directory_iterator(Dest())) ViewConst::DeleteFolderOrApp(e.path().string());
}

void HardeningTest::EachWay(const std::vector<RawEntry>& entries, const std::function<void(const Outcome&)>& check) {
  for (const Route route : {Route::ZipFileToFolder, Route::Opener}) {
    for (const bool withLink : {false, true}) {
      SCOPED_TRACE(std::string(RouteName(route)) + (withLink ? ", with a link" : ", plain"));
      std::vector<RawEntry> all = entries;
      if (withLink) all.push_back(Link("zz-inward-link", "."));
      check(Expand(BuildRawZip(all), route));
      ClearDest();
    }
  }
}

void HardeningTest::ExpectEachRefused(const std::vector<std::vector<RawEntry>>& archives) {
  for (size_t i = 0; i < archives.size(); ++i) {
    SCOPED_TRACE("archive " + std::to_string(i));
    EachWay(archives[i], [&](const Outcome& o) {
      EXPECT_FALSE(o.ok);
      EXPECT_TRUE(OutsideUnchanged());
      EXPECT_TRUE(DestHoldsOnlySafeItems());
    });
  }
}

}  // namespace ostrel::test
