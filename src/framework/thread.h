// The framework's thread: a subclass puts its work in Event_Run, and Run
// starts it on a thread of its own. An exception that escapes the work ends
// the thread quietly, as an unhandled error in a framework thread would; the
// caller learns of it only by what the work did not do.
#pragma once

#include <thread>

namespace fw {

class Thread {
 public:
  Thread() = default;
  virtual ~Thread();  // waits for the work to end
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // A hint only; the scheduler of the system decides.
  int Priority = 5;

  void Run();
  // Waits until Event_Run has returned.
  void Join();

 protected:
  virtual void Event_Run() = 0;

 private:
  std::thread thread_;
};

}  // namespace fw
