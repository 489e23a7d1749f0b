#include "payload/side_look.h"

namespace ostrel {

SideLook::SideLook(const BytesSeen& seen, size_t chunkSize)
    : seen_(seen), buffers_{std::vector<char>(chunkSize), std::vector<char>(chunkSize)}, thread_([this] { Run(); }) {}

SideLook::~SideLook() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void* SideLook::Next() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return done_ + 1 >= posted_; });
  return buffers_[posted_ & 1].data();
}

void SideLook::Post(size_t size) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    sizes_[posted_ & 1] = size;
    ++posted_;
  }
  changed_.notify_all();
}

void SideLook::Finish() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return done_ == posted_; });
}

void SideLook::Run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return stop_ || done_ < posted_; });
    if (done_ == posted_) return;  // stopped, with nothing left to look at
    const size_t slot = done_ & 1, size = sizes_[slot];
    lock.unlock();
    seen_(buffers_[slot].data(), size);
    lock.lock();
    ++done_;
    changed_.notify_all();
  }
}

}  // namespace ostrel
