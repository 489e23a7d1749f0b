#include "support/bare_root.h"

#include <sys/stat.h>
#include <unistd.h>

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ostrel::test {
namespace fs = std::filesystem;

namespace {

struct Package {
  std::string depends;  // Depends and Pre-Depends, as dpkg keeps them
  std::string architecture;
  bool installed = false;
};

// The installed packages of dpkg's database, with what each provides.
struct Database {
  std::map<std::string, Package> packages;
  std::map<std::string, std::string> providers;  // virtual name -> a package that provides it
};

std::string Trim(const std::string& s) {
  const size_t a = s.find_first_not_of(" \t"), b = s.find_last_not_of(" \t");
  return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

// "name:any (>= 1.0)" -> "name"
std::string PackageName(const std::string& item) {
  const std::string trimmed = Trim(item);
  std::string name = trimmed.substr(0, trimmed.find_first_of(" ("));
  return name.substr(0, name.find(':'));
}

Database ReadDatabase() {
  std::ifstream in("/var/lib/dpkg/status");
  if (!in) throw std::runtime_error("there is no dpkg database (/var/lib/dpkg/status) to take the base system from");
  Database db;
  std::string line, name, field;
  Package current;
  std::string provides;
  const auto flush = [&] {
    if (!name.empty() && current.installed) {
      db.packages[name] = current;
      std::stringstream items(provides);
      for (std::string item; std::getline(items, item, ',');) db.providers.emplace(PackageName(item), name);
    }
    name.clear(), provides.clear(), current = Package{};
  };
  while (std::getline(in, line)) {
    if (line.empty()) {
      flush();
      continue;
    }
    if (line[0] == ' ' || line[0] == '\t') continue;  // a long description's lines
    const size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    field = line.substr(0, colon);
    const std::string value = Trim(line.substr(colon + 1));
    if (field == "Package") name = value;
    if (field == "Status") current.installed = value == "install ok installed";
    if (field == "Depends" || field == "Pre-Depends") current.depends += value + ",";
    if (field == "Architecture") current.architecture = value;
    if (field == "Provides") provides = value;
  }
  flush();
  return db;
}

// The base packages and everything they depend on; of alternatives, the
// first one installed here.
std::set<std::string> Closure(const Database& db) {
  std::set<std::string> closure;
  std::vector<std::string> pending(BasePackages().begin(), BasePackages().end());
  while (!pending.empty()) {
    const std::string name = pending.back();
    pending.pop_back();
    if (closure.count(name)) continue;
    const auto it = db.packages.find(name);
    if (it == db.packages.end()) throw std::runtime_error("the package " + name + " is not installed here");
    closure.insert(name);
    std::stringstream items(it->second.depends);
    for (std::string item; std::getline(items, item, ',');) {
      std::stringstream alternatives(item);
      for (std::string alternative; std::getline(alternatives, alternative, '|');) {
        const std::string dep = PackageName(alternative);
        if (db.packages.count(dep)) {
          pending.push_back(dep);
          break;
        }
        if (const auto p = db.providers.find(dep); p != db.providers.end()) {
          pending.push_back(p->second);
          break;
        }
      }
    }
  }
  return closure;
}

std::vector<std::string> ListedFiles(const std::string& package, const Package& p) {
  for (const std::string& list : {"/var/lib/dpkg/info/" + package + ":" + p.architecture + ".list",
                                  "/var/lib/dpkg/info/" + package + ".list"}) {
    std::ifstream in(list);
    if (!in) continue;
    std::vector<std::string> files;
    for (std::string line; std::getline(in, line);)
      if (!line.empty() && line != "/.") files.push_back(line);
    return files;
  }
  throw std::runtime_error("dpkg keeps no file list of " + package);
}

void Place(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  const fs::file_status st = fs::symlink_status(from, ec);
  if (ec || fs::exists(fs::symlink_status(to, ec))) return;
  fs::create_directories(to.parent_path());
  if (fs::is_symlink(st)) {
    fs::create_symlink(fs::read_symlink(from), to);
  } else if (fs::is_directory(st)) {
    fs::create_directory(to);
  } else if (fs::is_regular_file(st)) {
    fs::create_hard_link(from, to, ec);
    if (ec) fs::copy_file(from, to);
  }
}

}  // namespace

const std::vector<std::string>& BasePackages() {
  static const std::vector<std::string> packages{
      "libc6",       "libstdc++6",   "libgcc-s1",   "zlib1g",           "libx11-6", "libx11-xcb1",
      "libxcb1",     "libfontconfig1", "libfreetype6", "libglib2.0-0",   "libdbus-1-3", "libglvnd0",
      "libgl1",      "libegl1",      "libopengl0",  "fonts-dejavu-core", "dash",     "coreutils"};
  return packages;
}

BareRoot::BareRoot(const std::string& folder) : root_(fs::absolute(folder).string()) {
  const Database db = ReadDatabase();
  fs::create_directories(root_);
  // A merged /usr, as Debian lays it out: "/lib/..." and "/usr/lib/..." are one.
  for (const char* merged : {"bin", "sbin", "lib", "lib64"}) {
    const std::string top = std::string("/") + merged;
    if (!fs::is_symlink(top)) continue;
    fs::create_directories(fs::path(root_) / fs::path(top).parent_path().relative_path() / fs::read_symlink(top));
    Place(top, root_ + top);
  }
  for (const std::string& name : Closure(db))
    for (const std::string& file : ListedFiles(name, db.packages.at(name))) {
      Place(file, root_ + file);
      std::error_code ec;
      files_.insert(file);
      files_.insert(fs::weakly_canonical(file, ec).string());
    }
  for (const char* place : {"tmp", "dev", "proc", "etc/ssl/certs", "home"}) fs::create_directories(root_ + "/" + place);
}

bool BareRoot::HoldsSystemFile(const std::string& path) const {
  std::error_code ec;
  return files_.count(path) || files_.count(fs::weakly_canonical(path, ec).string());
}

void BareRoot::TrustCertificate(const std::string& pem) const {
  // Both ways a system keeps them: the one bundle file, and a file named by
  // the subject's hash in the certificates' folder.
  std::ofstream(root_ + "/etc/ssl/certs/ca-certificates.crt", std::ios::app) << pem;
  BIO* in = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
  X509* cert = PEM_read_bio_X509(in, nullptr, nullptr, nullptr);
  BIO_free(in);
  if (!cert) throw std::runtime_error("not a certificate");
  char name[16];
  snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(cert));
  X509_free(cert);
  std::ofstream(root_ + "/etc/ssl/certs/" + name) << pem;
}

std::vector<std::string> BareRoot::Command(const std::vector<std::string>& argv, const std::vector<std::string>& shared,
                                           const std::map<std::string, std::string>& env) const {
  std::vector<std::string> cmd{BwrapProgram(), "--ro-bind", root_, "/", "--dev", "/dev", "--proc", "/proc",
                               "--tmpfs", "/tmp", "--clearenv"};
  if (fs::exists("/tmp/.X11-unix")) cmd.insert(cmd.end(), {"--ro-bind", "/tmp/.X11-unix", "/tmp/.X11-unix"});
  for (const std::string& folder : shared) cmd.insert(cmd.end(), {"--bind", folder, folder});
  for (const auto& [name, value] : env) cmd.insert(cmd.end(), {"--setenv", name, value});
  cmd.insert(cmd.end(), argv.begin(), argv.end());
  return cmd;
}

std::string BwrapProgram() {
  for (const char* folder : {"/usr/bin", "/bin", "/usr/local/bin"}) {
    const std::string candidate = std::string(folder) + "/bwrap";
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return {};
}

}  // namespace ostrel::test
