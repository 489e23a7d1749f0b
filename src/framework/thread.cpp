#include "framework/thread.h"

namespace fw {

Thread::~Thread() { Join(); }

void Thread::Run() {
  Join();
  thread_ = std::thread([this] {
    try {
      Event_Run();
    } catch (...) {
    }
  });
}

void Thread::Join() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace fw
