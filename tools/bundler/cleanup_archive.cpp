#include "bundler/cleanup_archive.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "bundler/carried_runtime.h"
#include "bundler/payload_zip.h"

namespace ostrel::bundler {

namespace fs = std::filesystem;

std::string CleanupProgram(const SetupDescription& d, const std::string& stubBinary) {
  if (d.cleanup == 0) return {};
  const std::string program =
      d.cleanupProgram.empty() ? (fs::path(stubBinary).parent_path() / "ostrel-cleanup").string() : d.cleanupProgram;
  struct stat st;
  if (stat(program.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || access(program.c_str(), X_OK) != 0)
    throw BadInput("cleanup " + std::to_string(d.cleanup) + " needs the clean-up program, and there is none at " +
                   program + " (give cleanup_program)");
  return program;
}

void WriteCleanupArchive(const std::string& program, const std::string& data3, const std::string& scratch,
                         bool selfContained) {
  // The archive expands into "PostInstallCleanup.app", so it holds the
  // bundle's inside: Contents/MacOS/PostInstallCleanup.
  const fs::path contents = fs::path(scratch) / "Contents";
  fs::create_directories(contents / "MacOS");
  const fs::path copy = contents / "MacOS" / "PostInstallCleanup";
  // It runs from the temporary folder, after the stub has quit: nothing the
  // bundle carries is beside it there, so it may need the base system only.
  if (selfContained && IsElfFile(program))
    for (const std::string& library : NeededLibraries(program))
      if (!InBaseSystem(library))
        throw BadInput("the clean-up program " + program + " needs " + library +
                       ", which a receiver may not have; link it statically or make a --thin bundle");
  CopyProgram(program, copy.string());
  WritePayloadZip(contents.string(), "Contents", data3);
  fs::remove_all(scratch);
}

}  // namespace ostrel::bundler
