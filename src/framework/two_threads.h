// Runs one worker loop on the calling thread and on a second one, for work
// that the loop itself hands out. Where no second thread can be had, the
// calling thread does it all.
#pragma once

#include <system_error>
#include <thread>

namespace fw {

template <typename Work>
void RunOnTwoThreads(Work work) {
  std::thread helper;
  try {
    helper = std::thread(work);
  } catch (const std::system_error&) {
  }
  work();
  if (helper.joinable()) helper.join();
}

}  // namespace fw
