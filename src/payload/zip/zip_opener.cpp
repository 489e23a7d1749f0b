#include "payload/zip/zip_opener.h"

#include <sys/stat.h>

#include <map>
#include <vector>

#include "framework/runtime.h"
#include "payload/archives.h"

namespace ostrel {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<std::shared_ptr<ZipExpansionJob>> jobs;  // oldest first
  std::shared_ptr<ZipExpansionJob> unclaimed;
  std::map<std::string, ExpandRules> launchRules;
  // At exit the jobs are dropped, and each one's end is awaited, so no
  // expansion is cut off half-way.
};

Registry& Jobs() {
  static Registry registry;
  return registry;
}

std::string FolderOf(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

ZipExpansionJob::ZipExpansionJob(std::string archive, std::string folder, ExpandRules rules)
    : archive_(std::move(archive)), folder_(std::move(folder)), rules_(std::move(rules)) {
  thread_ = std::thread([this] {
    result_ = ExpandZipArchive(archive_, folder_, &progress_, rules_);
    finished_.store(true, std::memory_order_release);
  });
}

ZipExpansionJob::~ZipExpansionJob() { Wait(); }

void ZipExpansionJob::Wait() {
  std::lock_guard<std::mutex> lock(joinMutex_);
  if (thread_.joinable()) thread_.join();
}

bool ZipExpansionJob::Succeeded() const { return Finished() && result_.ok; }

std::string ZipExpansionJob::Error() const { return Finished() ? result_.error : std::string(); }

std::shared_ptr<ZipExpansionJob> StartZipExpansion(const std::string& archive, const std::string& folder,
                                                   const ExpandRules& rules) {
  auto job = std::make_shared<ZipExpansionJob>(archive, folder, rules);
  Registry& r = Jobs();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.jobs.push_back(job);
  r.unclaimed = job;
  return job;
}

std::shared_ptr<ZipExpansionJob> ClaimZipExpansion(const std::string& archive) {
  Registry& r = Jobs();
  std::lock_guard<std::mutex> lock(r.mutex);
  if (!r.unclaimed || r.unclaimed->Archive() != archive) return nullptr;
  return std::move(r.unclaimed);
}

void WaitForZipExpansions() {
  std::vector<std::shared_ptr<ZipExpansionJob>> jobs;
  {
    Registry& r = Jobs();
    std::lock_guard<std::mutex> lock(r.mutex);
    jobs = r.jobs;
  }
  for (auto& job : jobs) job->Wait();
}

void SetRulesForLaunch(const std::string& archive, const ExpandRules& rules) {
  Registry& r = Jobs();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.launchRules[archive] = rules;
}

void RegisterZipOpener() {
  fw::RegisterOpener(".zip", [](const std::string& path) {
    ExpandRules rules;
    {
      Registry& r = Jobs();
      std::lock_guard<std::mutex> lock(r.mutex);
      if (auto it = r.launchRules.find(path); it != r.launchRules.end()) {
        rules = std::move(it->second);
        r.launchRules.erase(it);
      }
    }
    // Like the system's opener, a file that is not there opens nothing.
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return;
    StartZipExpansion(path, FolderOf(path), rules);
  });
}

}  // namespace ostrel
