#include "relocation/relocation_marker.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <vector>

#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/file_copy.h"
#include "framework/runtime.h"

namespace ostrel {
namespace {

const char* const kMarkerName = ".ostrel-relocation";
// The first field; the others follow, each ended by a NUL byte, which no
// path and no record text holds.
const std::string kMagic = "OstrelRelocation 1";
constexpr off_t kMarkerMaxSize = 1 << 20;

std::string RealPath(const std::string& path) {
  char real[PATH_MAX];
  return realpath(path.c_str(), real) ? std::string(real) : std::string();
}

bool IsNumberedFolderName(const std::string& name) {
  if (name.size() != 4) return false;
  for (char c : name)
    if (c < '0' || c > '9') return false;
  return true;
}

std::vector<std::string> SplitFields(const std::string& text) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (size_t end; (end = text.find('\0', start)) != std::string::npos; start = end + 1)
    fields.push_back(text.substr(start, end - start));
  if (start != text.size()) fields.clear();  // an unfinished field: not ours
  return fields;
}

}  // namespace

bool WriteRelocationMarker(const std::string& folder, const RelocationMarker& marker) {
  const std::string path = folder + "/" + kMarkerName;
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  std::string text;
  for (const std::string* field : {&kMagic, &folder, &marker.sourceFolder, &marker.choices, &marker.options}) {
    text += *field;
    text += '\0';
  }
  bool ok = fchmod(fd, 0600) == 0 && fw::WriteAll(fd, text.data(), text.size()) == 0;
  if (close(fd) != 0) ok = false;
  if (!ok) unlink(path.c_str());
  return ok;
}

std::optional<RelocationMarker> TakeRelocationMarker(const std::string& folder, const std::string& temporary) {
  const size_t slash = folder.rfind('/');
  if (slash == std::string::npos || !IsNumberedFolderName(folder.substr(slash + 1))) return std::nullopt;
  const std::string realTemporary = RealPath(temporary);
  if (realTemporary.empty() || RealPath(folder.substr(0, slash)) != realTemporary) return std::nullopt;

  struct stat st;
  if (lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != getuid()) return std::nullopt;
  const std::string path = folder + "/" + kMarkerName;
  const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::string text;
  if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_uid == getuid() && (st.st_mode & 07777) == 0600 &&
      st.st_nlink == 1 && st.st_size <= kMarkerMaxSize) {
    text.resize(static_cast<size_t>(st.st_size));
    if (read(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) text.clear();
  }
  close(fd);

  const std::vector<std::string> fields = SplitFields(text);
  if (fields.size() != 5 || fields[0] != kMagic || fields[1] != folder) return std::nullopt;
  RelocationMarker marker{fields[2], fields[3], fields[4]};
  if (marker.sourceFolder.empty() || marker.sourceFolder.front() != '/' || marker.sourceFolder.back() != '/')
    return std::nullopt;
  unlink(path.c_str());
  return marker;
}

bool AcceptRelocationMarker(OstrelStubWindow& window) {
  std::string folder = ViewConst::GetApplicationPath();
  ViewConst::DropTrailingPathSeparator(folder);
  const auto marker =
      TakeRelocationMarker(folder, fw::SpecialFolder(fw::SpecialFolderKind::Temporary).NativePath());
  if (!marker) return false;
  window.fRelocatedCopy = true;
  window.fSourceFolder = marker->sourceFolder;
  window.fChoiceAnswer = marker->choices;
  window.fOptionsAnswer = marker->options;
  return true;
}

}  // namespace ostrel
