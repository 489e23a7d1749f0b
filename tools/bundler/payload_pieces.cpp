#include "bundler/payload_pieces.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "bundler/setup_description.h"
#include "framework/file_copy.h"

namespace ostrel::bundler {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& what, int error) {
  throw std::runtime_error(what + ": " + std::strerror(error));
}

// Copies `length` bytes from the current offset of `in` into a new file.
void WritePiece(int in, off_t length, const std::string& path) {
  const int out = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (out < 0) Fail("cannot write " + path, errno);
  std::vector<char> buffer(1 << 20);
  int error = fw::CopyContent(in, out, length, buffer);
  if (close(out) != 0 && !error) error = errno;
  if (error) Fail("cannot write " + path, error);
}

std::string DiscFolder(const std::string& out, size_t disc) { return out + "/Disc" + std::to_string(disc); }

// Removes the pieces of an earlier build from `folder`; true when it holds nothing else.
bool ClearPieces(const std::string& folder) {
  std::error_code ec;
  bool empty = true;
  for (auto& e : fs::directory_iterator(folder, ec)) {
    if (IsPieceName(e.path().filename().string()) && fs::is_regular_file(fs::symlink_status(e.path())))
      fs::remove(e.path());
    else
      empty = false;
  }
  return empty;
}

}  // namespace

bool IsPieceName(const std::string& name) {
  const std::string prefix = "Data#";
  if (name.compare(0, prefix.size(), prefix) != 0 || name.size() == prefix.size()) return false;
  const std::string rest = name.substr(prefix.size());
  return rest == "End" || rest.find_first_not_of("0123456789") == std::string::npos;
}

std::vector<std::string> CutIntoPieces(const std::string& archive, int64_t size, const std::string& firstPiece,
                                       const std::string& folder) {
  const int in = open(archive.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat st;
  if (in < 0 || fstat(in, &st) != 0) Fail("cannot read " + archive, errno);
  if (st.st_size <= size) {
    close(in);
    throw BadInput("the payload archive (" + std::to_string(st.st_size) + " bytes) fits in one piece of " +
                   std::to_string(size) + " bytes: a setup is split into two pieces at least");
  }
  std::vector<std::string> names;
  try {
    WritePiece(in, size, firstPiece);
    for (off_t at = size; at < st.st_size; at += size) {
      const bool last = st.st_size - at <= size;
      names.push_back(last ? "Data#End" : "Data#" + std::to_string(names.size() + 2));
      WritePiece(in, std::min<off_t>(size, st.st_size - at), folder + "/" + names.back());
    }
  } catch (...) {
    close(in);
    throw;
  }
  close(in);
  fs::remove(archive);
  return names;
}

std::string BundleFolder(const std::string& outputFolder, bool discFolders) {
  return discFolders ? DiscFolder(outputFolder, 1) : outputFolder;
}

void LayOutPieces(const std::string& staging, const std::vector<std::string>& pieces,
                  const std::string& outputFolder, bool discFolders) {
  if (!discFolders) {
    ClearPieces(outputFolder);
    for (const auto& name : pieces) fs::rename(staging + "/" + name, outputFolder + "/" + name);
    return;
  }
  // Disc 1 holds the bundle; disc k holds the piece Data#k (the last, Data#End).
  for (size_t k = 0; k < pieces.size(); ++k) {
    const std::string disc = DiscFolder(outputFolder, k + 2);
    fs::create_directories(disc);
    ClearPieces(disc);
    fs::rename(staging + "/" + pieces[k], disc + "/" + pieces[k]);
  }
  ClearPieces(DiscFolder(outputFolder, 1));
  for (size_t disc = pieces.size() + 2; fs::is_directory(DiscFolder(outputFolder, disc)); ++disc)
    if (ClearPieces(DiscFolder(outputFolder, disc))) fs::remove(DiscFolder(outputFolder, disc));
}

}  // namespace ostrel::bundler
