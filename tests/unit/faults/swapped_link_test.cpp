// A folder swapped for a link to somewhere else while a tree is removed or
// copied: the removal never leaves the tree, and the copy never writes
// outside its destination. The swaps come from a second thread that moves
// folders aside and puts links to an outside folder full of canaries in
// their place, as fast as it can, while the operation runs.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "fileutil/view_const.h"
#include "support/sandbox.h"
#include "support/snapshot.h"

namespace ostrel::test {
namespace {

// Swaps each of `folders` in turn, in a shuffled order, until stopped: the
// folder (when there) is moved aside within its parent and a link to
// `target` takes its name. Parents are opened without following a link, so
// the swaps themselves never reach through one that an earlier swap made.
class Swapper {
 public:
  Swapper(std::vector<std::string> folders, std::string target, unsigned seed)
      : folders_(std::move(folders)), target_(std::move(target)), gen_(seed) {
    thread_ = std::thread([this] { Run(); });
  }
  ~Swapper() { Stop(); }
  int Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    return swaps_;
  }

 private:
  void Run() {
    for (int pass = 0; !stop_; ++pass) {
      std::shuffle(folders_.begin(), folders_.end(), gen_);
      for (const auto& f : folders_) {
        if (stop_) return;
        const auto slash = f.rfind('/');
        const int parent = open(f.substr(0, slash).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (parent < 0) continue;
        const std::string name = f.substr(slash + 1), aside = name + ".aside" + std::to_string(pass);
        if (renameat(parent, name.c_str(), parent, aside.c_str()) == 0 || errno == ENOENT)
          if (symlinkat(target_.c_str(), parent, name.c_str()) == 0) ++swaps_;
        close(parent);
      }
    }
  }

  std::vector<std::string> folders_;  // at most two levels below a folder that is never swapped
  const std::string target_;
  std::mt19937 gen_;
  std::atomic<bool> stop_{false};
  std::atomic<int> swaps_{0};
  std::thread thread_;
};

class FaultSwappedLinkTest : public SandboxTest {
 protected:
  void SetUp() override {
    SandboxTest::SetUp();
    for (int i = 0; i < 20; ++i) WriteFile(At("outside/canary" + std::to_string(i)), "canary " + std::to_string(i));
    WriteFile(At("outside/sub/deep"), "a deeper canary");
    chmod(At("outside").c_str(), 0750);  // a folder opened for removal would gain rwx for all
    chmod(At("outside/sub").c_str(), 0700);
    canaries = TakeSnapshot(At("outside"));
  }

  // A tree below `top` in `kFolders` folders, each with files and two
  // sub-folders of files; answers the folders' paths, the deeper ones too.
  std::vector<std::string> MakeTree(const std::string& top) {
    std::vector<std::string> folders;
    for (int i = 0; i < kFolders; ++i) {
      const std::string f = top + "/d" + std::to_string(i);
      for (const std::string sub : {"", "/s0", "/s1"}) {
        for (int k = 0; k < kFiles; ++k) WriteFile(f + sub + "/f" + std::to_string(k), "x");
        folders.push_back(f + sub);
      }
    }
    return folders;
  }

  // The same paths below another folder.
  static std::vector<std::string> Mirror(const std::vector<std::string>& paths, const std::string& from,
                                         const std::string& to) {
    std::vector<std::string> out;
    for (const auto& p : paths) out.push_back(to + p.substr(from.size()));
    return out;
  }

  void ExpectCanariesKept() const {
    const std::string diff = SnapshotDiff(canaries, TakeSnapshot(At("outside")));
    EXPECT_TRUE(diff.empty()) << "outside:\n" << diff.substr(0, 2000);
  }

  static constexpr int kFolders = 40, kFiles = 25;  // 3000 files
  Snapshot canaries;
};

TEST_F(FaultSwappedLinkTest, ARemovalNeverFollowsAFolderSwappedForALink) {
  int swaps = 0;
  for (unsigned round = 0; round < 4; ++round) {
    SCOPED_TRACE(round);
    const auto folders = MakeTree(At("tree"));
    Swapper swapper(folders, At("outside"), round);
    ViewConst::DeleteFolderOrApp(At("tree"));
    swaps += swapper.Stop();
    ExpectCanariesKept();
    // What the swaps kept from the removal goes now, links as links.
    ViewConst::DeleteFolderOrApp(At("tree"));
    EXPECT_FALSE(fs::exists(fs::symlink_status(At("tree"))));
    ExpectCanariesKept();
  }
  EXPECT_GT(swaps, 0);
}

TEST_F(FaultSwappedLinkTest, ACopyNeverWritesThroughALinkInItsDestination) {
  const auto folders = MakeTree(At("src"));
  // A link already there under a folder's name.
  fs::create_directories(At("dst"));
  fs::create_directory_symlink(At("outside"), At("dst/d3"));
  ViewConst::CopyFolder(At("src"), At("dst"));
  ExpectCanariesKept();
  EXPECT_EQ(ReadFile(At("dst/d4/s1/f7")), "x");  // the rest was copied
  EXPECT_TRUE(fs::is_symlink(At("dst/d3")));

  // Links swapped in while the copy makes and fills its folders.
  int swaps = 0;
  for (unsigned round = 0; round < 4; ++round) {
    SCOPED_TRACE(round);
    ViewConst::DeleteFolderOrApp(At("dst"));
    fs::create_directories(At("dst"));
    Swapper swapper(Mirror(folders, At("src"), At("dst")), At("outside"), round);
    ViewConst::CopyFolder(At("src"), At("dst"));
    swaps += swapper.Stop();
    ExpectCanariesKept();
  }
  EXPECT_GT(swaps, 0);
  ViewConst::DeleteFolderOrApp(At("dst"));
}

}  // namespace
}  // namespace ostrel::test
