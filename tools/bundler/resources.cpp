#include "bundler/resources.h"

#include <sys/stat.h>

#include <filesystem>
#include <set>

#include "framework/text.h"

namespace ostrel::bundler {
namespace {

namespace fs = std::filesystem;

// The bundle's own files in Contents/Resources, which no resource may replace.
bool IsReservedName(const std::string& name) {
  const std::string n = fw::AsciiLower(name);
  return n == "data" || n == "textdata" || n == "data2" || n == "data3" || n == "manifest" ||
         n.rfind("data#", 0) == 0;
}

bool HasPathMacro(const std::string& name) {
  for (const char* macro : {"UserAccount/", "InstallFolder/", "FixedPath/", "SetupFolder/"})
    if (fw::AsciiLower(name).rfind(fw::AsciiLower(macro), 0) == 0) return true;
  return false;
}

void CheckProgram(const std::string& key, const std::string& program, const std::set<std::string>& names) {
  if (program.empty() || HasPathMacro(program)) return;
  // A plain name is looked for in Resources, so it must come with the bundle.
  const std::string first = program.substr(0, program.find('/'));
  if (!names.count(first))
    throw BadInput(key + " names \"" + program + "\", which is not among the resources (add \"resource = " + first +
                   "\")");
}

}  // namespace

void CheckResources(const SetupDescription& d) {
  std::set<std::string> names;
  for (const std::string& path : d.resources) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0 || !(S_ISREG(st.st_mode) || S_ISDIR(st.st_mode)))
      throw BadInput("no resource file or folder " + path);
    const std::string name = fs::path(path).lexically_normal().filename().string();
    if (name.empty() || name == "." || name == "..") throw BadInput("a resource needs a name of its own: " + path);
    if (IsReservedName(name)) throw BadInput("the resource " + path + " would replace the bundle's own " + name);
    if (!names.insert(name).second) throw BadInput("two resources are named " + name);
  }
  CheckProgram("execute_before", d.executeBefore, names);
  CheckProgram("execute_after", d.executeAfter, names);
}

void CopyResources(const std::vector<std::string>& resources, const std::string& resourcesFolder) {
  for (const std::string& path : resources) {
    const fs::path from = fs::path(path).lexically_normal();
    const fs::path to = fs::path(resourcesFolder) / from.filename();
    if (fs::is_directory(from))
      fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    else
      fs::copy_file(from, to);
  }
}

}  // namespace ostrel::bundler
