// A root file system that holds only what every receiver of a bundle has:
// the files of the base packages and of the packages they depend on, as
// dpkg installed them on this machine. A bundle started in it (by bwrap)
// must find everything else inside itself.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace ostrel::test {

// The receiver's base packages.
const std::vector<std::string>& BasePackages();

class BareRoot {
 public:
  // Makes the root below `folder` (hard links where the file system allows,
  // copies elsewhere). Throws std::runtime_error with the reason when it
  // cannot: no dpkg database, a base package not installed.
  explicit BareRoot(const std::string& folder);

  const std::string& Path() const { return root_; }
  // Every path the base packages installed, as dpkg lists them (links in
  // their folders resolved, so "/lib/..." and "/usr/lib/..." both count).
  bool HoldsSystemFile(const std::string& path) const;
  // Adds a trusted certificate (PEM) the way a system keeps its own.
  void TrustCertificate(const std::string& pem) const;

  // The command that runs `argv` inside the root as the system there, with
  // `shared` folders (the test's sandbox) at their own paths, the X server's
  // sockets, and nothing else of this machine; `env` is its whole environment.
  std::vector<std::string> Command(const std::vector<std::string>& argv, const std::vector<std::string>& shared,
                                   const std::map<std::string, std::string>& env) const;

 private:
  std::string root_;
  std::set<std::string> files_;
};

// The bwrap on PATH, or "" when there is none.
std::string BwrapProgram();

}  // namespace ostrel::test
