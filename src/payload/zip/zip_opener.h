// The in-process opener of zip archives. Launching a ".zip" hands it here: the
// archive expands into the folder that holds it, on a thread of its own, and
// the launch returns at once. The job stays reachable so that the one who
// launched it can follow its progress and wait for its real end.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "payload/zip/zip_expand.h"

namespace ostrel {

class ZipExpansionJob {
 public:
  // Starts expanding at once.
  ZipExpansionJob(std::string archive, std::string folder, ExpandRules rules = {});
  ~ZipExpansionJob();  // waits for the end
  ZipExpansionJob(const ZipExpansionJob&) = delete;
  ZipExpansionJob& operator=(const ZipExpansionJob&) = delete;

  const std::string& Archive() const { return archive_; }
  const std::string& Folder() const { return folder_; }
  int64_t Done() const { return progress_.done.load(); }
  int64_t Total() const { return progress_.total.load(); }
  bool Finished() const { return finished_.load(std::memory_order_acquire); }
  // Meaningful once Finished().
  bool Succeeded() const;
  std::string Error() const;
  bool UsedFastPath() const { return Finished() && result_.fastPath; }
  // Blocks until the expansion has ended.
  void Wait();

 private:
  std::string archive_, folder_;
  ExpandRules rules_;
  ExpandProgress progress_;
  ExpandResult result_;  // written before finished_ is set
  std::atomic<bool> finished_{false};
  std::mutex joinMutex_;
  std::thread thread_;
};

// Starts a job and keeps it as the latest one. Every job is waited for before
// the process ends.
std::shared_ptr<ZipExpansionJob> StartZipExpansion(const std::string& archive, const std::string& folder,
                                                   const ExpandRules& rules = {});

// The rules that the next launch of `archive` expands it by: a launch names
// a file and nothing more.
void SetRulesForLaunch(const std::string& archive, const ExpandRules& rules);

// The latest job started for `archive` that nobody has followed yet; following
// it claims it. Null when the launch started none.
std::shared_ptr<ZipExpansionJob> ClaimZipExpansion(const std::string& archive);

// Waits for every job started so far.
void WaitForZipExpansions();

}  // namespace ostrel
