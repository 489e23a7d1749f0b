// Tmpfs volumes of a few hundred KiB mounted inside a sandbox, that run out
// of room on purpose, for tests of full volumes and of folders that cannot
// be moved (a mount point). Mounting needs privilege; where it is not
// permitted the test skips rather than fails.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace ostrel::test {

class SmallVolumes {
 public:
  ~SmallVolumes() { UnmountAll(); }
  // Mounts a tmpfs of `kib` KiB at `dir`, which is created. 0 or the errno
  // of the failure.
  int Mount(const std::string& dir, size_t kib);
  void UnmountAll();

 private:
  std::vector<std::string> mounted_;
};

// Adds small volumes to a sandbox fixture; they are gone before the
// sandbox is removed, whatever the test did.
template <class Base>
class WithSmallVolumes : public Base {
 protected:
  void TearDown() override {
    volumes_.UnmountAll();
    Base::TearDown();
  }
  // False when the test cannot go on: skipped where mounting is not
  // permitted, failed on any other error.
  bool Mounted(const std::string& dir, size_t kib) {
    const int e = volumes_.Mount(dir, kib);
    if (e == EPERM || e == EACCES)
      [&] { GTEST_SKIP() << "mounting a tmpfs is not permitted here: " << std::strerror(e); }();
    else if (e != 0)
      ADD_FAILURE() << "a tmpfs could not be mounted at " << dir << ": " << std::strerror(e);
    return e == 0;
  }

 private:
  SmallVolumes volumes_;
};

}  // namespace ostrel::test
