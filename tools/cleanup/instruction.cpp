// What the clean-up program is asked to delete, and whether it may.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <memory>

#include "cleanup/cleanup.h"
#include "framework/protected_folders.h"
#include "framework/text.h"

namespace ostrel::cleanup {
namespace {

bool HasBundleName(const std::string& path) {
  const size_t slash = path.rfind('/');
  const std::string name = path.substr(slash + 1);
  return name.size() > 4 && fw::AsciiLower(name.substr(name.size() - 4)) == ".app";
}

// Whether `data3` is `archive` scrambled: the bytes at odd offsets one higher.
bool IsScrambledCopy(const std::string& data3, const std::string& archive) {
  struct stat a, b;
  if (lstat(data3.c_str(), &a) != 0 || stat(archive.c_str(), &b) != 0 || !S_ISREG(a.st_mode) ||
      !S_ISREG(b.st_mode) || a.st_size != b.st_size)
    return false;
  std::ifstream scrambled(data3, std::ios::binary), plain(archive, std::ios::binary);
  constexpr size_t kChunk = 64 * 1024;  // even, so every chunk starts at an even offset
  auto x = std::make_unique<unsigned char[]>(kChunk), y = std::make_unique<unsigned char[]>(kChunk);
  for (off_t left = a.st_size; left > 0;) {
    const auto n = static_cast<size_t>(std::min<off_t>(left, kChunk));
    if (!scrambled.read(reinterpret_cast<char*>(x.get()), static_cast<std::streamsize>(n)) ||
        !plain.read(reinterpret_cast<char*>(y.get()), static_cast<std::streamsize>(n)))
      return false;
    for (size_t i = 0; i < n; ++i)
      if (x[i] != static_cast<unsigned char>(y[i] + (i & 1))) return false;
    left -= static_cast<off_t>(n);
  }
  return true;
}

// A bundle directly inside `folder` that carries the clean-up archive we came from.
bool HoldsStartedBundle(const std::string& folder, const std::string& ownArchive) {
  DIR* d = opendir(folder.c_str());
  if (!d) return false;
  bool found = false;
  while (dirent* e = readdir(d)) {
    const std::string bundle = folder + "/" + e->d_name;
    struct stat st;
    if (!HasBundleName(bundle) || lstat(bundle.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) continue;
    if ((found = IsScrambledCopy(bundle + "/Contents/Resources/Data3", ownArchive))) break;
  }
  closedir(d);
  return found;
}

}  // namespace

Instruction ParseInstruction(const std::string& text) {
  for (const auto& [prefix, kind] : {std::pair{std::string("DeleteFile="), Instruction::Kind::DeleteFile},
                                     std::pair{std::string("DeleteFolder="), Instruction::Kind::DeleteFolder}}) {
    if (text.size() > prefix.size() && fw::EqualsIgnoreCase(text.substr(0, prefix.size()), prefix))
      return {kind, text.substr(prefix.size())};
  }
  return {};
}

bool MayCarryOut(const Instruction& instruction, const std::string& ownArchive,
                 const std::vector<std::string>& kept) {
  const std::string& path = instruction.path;
  struct stat st;
  if (instruction.kind == Instruction::Kind::None || path.empty() || path[0] != '/' ||
      lstat(path.c_str(), &st) != 0 || fw::IsProtectedFromRemoval(path, kept))
    return false;
  if (instruction.kind == Instruction::Kind::DeleteFile)
    return S_ISREG(st.st_mode) || (S_ISDIR(st.st_mode) && HasBundleName(path));
  // A folder others share (a setup started straight from /tmp) is never
  // taken, whatever the setup asked.
  return S_ISDIR(st.st_mode) && !fw::IsSharedFolder(path) && HoldsStartedBundle(path, ownArchive);
}

}  // namespace ostrel::cleanup
