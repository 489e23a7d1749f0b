// Assembling the bundle. Every check of the description runs before the
// first byte is written, and the bundle is built in a sibling folder that
// takes its final name only when complete.
#include "bundler/bundle.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "bundler/action_list_check.h"
#include "bundler/carried_runtime.h"
#include "bundler/cleanup_archive.h"
#include "bundler/choice_archives.h"
#include "bundler/demo_payload.h"
#include "bundler/manifest_file.h"
#include "bundler/payload_pieces.h"
#include "bundler/payload_zip.h"
#include "bundler/pixel_strings.h"
#include "bundler/record_fields.h"
#include "bundler/resources.h"
#include "fileutil/view_const.h"
#include "payload/archives.h"

namespace ostrel::bundler {
namespace {

namespace fs = std::filesystem;

void CheckPlainName(const std::string& name, const std::string& what) {
  if (name.empty()) throw BadInput(what + " is empty");
  if (name == "." || name == ".." || name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
    throw BadInput(what + " \"" + name + "\" must be a plain name, without \"/\"");
}

std::string CurrentTimeStamp() {
  const time_t now = time(nullptr);
  tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
  return text;
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

bool IsInside(const fs::path& inner, const fs::path& outer) {
  const auto rel = inner.lexically_relative(outer);
  return !rel.empty() && *rel.begin() != "..";
}

// The generated demo tree, made anew on every build. A marker beside it
// shows that the folder is the generator's own and may be replaced.
std::string GeneratePayload(const SetupDescription& d, const fs::path& out) {
  const fs::path folder = out / "payload" / d.targetFolder;
  const fs::path marker = out / "payload" / ("." + d.targetFolder + ".generated");
  if (fs::exists(fs::symlink_status(folder))) {
    if (!fs::exists(marker))
      throw BadInput("cannot generate the demo payload: " + folder.string() +
                     " exists and was not made by the generator");
    fs::remove_all(folder);
  }
  fs::create_directories(folder.parent_path());
  MakeDemoPayload(folder.string(), d.generatedPayloadFiles);
  WriteBytes(marker, std::to_string(d.generatedPayloadFiles) + "\n");
  return folder.string();
}

void ScramblePayload(const fs::path& archive) {
  const int error = ostrel::RewriteThroughByteStep(archive.string(), true);
  if (error != 0)
    throw std::runtime_error("the archive could not be scrambled: " + archive.string() +
                             (error > 0 ? std::string(" (") + std::strerror(error) + ")" : std::string()));
}

}  // namespace

std::string BuildBundle(const SetupDescription& description, const std::string& stubBinary,
                        const std::string& outputFolder, bool carryRuntime) {
  SetupDescription d = description;
  CheckPlainName(d.bundleName, "the bundle's name");
  if (d.executableName.empty()) d.executableName = d.bundleName;
  CheckPlainName(d.executableName, "the executable's name");
  CheckPlainName(d.targetFolder, "the target");
  if (d.timeStamp.empty()) d.timeStamp = CurrentTimeStamp();
  PrepareChoiceFields(d);
  if (d.payloadFolder.empty() == (d.generatedPayloadFiles <= 0))
    throw BadInput("a setup needs one payload: a folder, or a generated demo payload");
  struct stat st;
  if (stat(stubBinary.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
    throw BadInput("no stub executable at " + stubBinary);
  CheckActionList(d.postInstallActions, d.payloadFolder);
  CheckResources(d);
  const std::string cleanupProgram = CleanupProgram(d, stubBinary);

  const PictureFields pictures{PictureField(d.logo, "logo"), PictureField(d.picture, "picture"),
                               PictureField(d.background, "background")};
  const std::string data = ViewConst::Encrypt(DataRecordText(d, pictures));
  std::string textData = TextRecordText(d);

  fs::create_directories(outputFolder);
  const fs::path out = fs::canonical(outputFolder);
  const bool discs = d.splitSize > 0 && d.splitIntoDiscFolders;
  fs::create_directories(BundleFolder(out.string(), discs));
  const fs::path bundle = fs::path(BundleFolder(out.string(), discs)) / (d.bundleName + ".app");
  if (fs::exists(fs::symlink_status(bundle)) && !fs::is_directory(fs::symlink_status(bundle / "Contents")))
    throw BadInput(bundle.string() + " exists and is not a bundle; it is left as it is");

  if (d.generatedPayloadFiles > 0) d.payloadFolder = GeneratePayload(d, out);
  const fs::path payload = fs::canonical(d.payloadFolder);
  if (IsInside(out, payload) || out == payload)
    throw BadInput("the output folder " + out.string() + " lies inside the payload folder " + payload.string());
  // A payload folder that holds only a folder named like the target installs
  // as Target/Target/...: built, since it may be meant, but said.
  if (std::distance(fs::directory_iterator(payload), fs::directory_iterator()) == 1 &&
      fs::is_directory(payload / d.targetFolder))
    std::fprintf(stderr, "ostrel-bundle: warning: the payload folder %s holds only the folder \"%s\", so it installs "
                         "as %s/%s/...; give the folder inside it as the payload if that is not meant\n",
                 payload.c_str(), d.targetFolder.c_str(), d.targetFolder.c_str(), d.targetFolder.c_str());

  std::string work = (bundle.parent_path() / ("." + d.bundleName + ".app.XXXXXX")).string();
  if (!mkdtemp(work.data())) throw std::runtime_error("cannot create a folder in " + out.string());
  const fs::path root(work);
  std::string staging;  // the pieces of a split setup until the bundle stands
  try {
    const fs::path macos = root / "Contents/MacOS", resources = root / "Contents/Resources";
    fs::create_directories(macos);
    fs::create_directories(resources);
    const fs::path executable = macos / d.executableName;
    CopyProgram(stubBinary, executable.string());
    if (carryRuntime) CarryRuntime(stubBinary, (root / "Contents").string());
    // What a file manager shows at the bundle's top: the one thing to start.
    fs::create_symlink("Contents/MacOS/" + d.executableName, root / ("Install " + d.bundleName));
    WriteBytes(resources / "Data", data);
    // The record names the choice and option archives with their pins.
    PackChoiceArchives(d, resources.string(), out.string());
    textData = TextRecordText(d);
    WriteBytes(resources / "TextData", textData);
    // A patch setup's archive carries the patch folder, expanded beside the target.
    const std::string top = d.targetFolder + (d.installationPatch ? "Patch" : "");
    WritePayloadZip(payload.string(), top, (resources / "Data2").string());
    ScramblePayload(resources / "Data2");
    CopyResources(d.resources, resources.string());
    if (!cleanupProgram.empty()) {
      WriteCleanupArchive(cleanupProgram, (resources / "Data3").string(), (root / ".cleanup").string(), carryRuntime);
      ScramblePayload(resources / "Data3");
    }
    std::vector<std::string> pieces;
    if (d.splitSize > 0) {
      staging = (out / ("." + d.bundleName + ".pieces.XXXXXX")).string();
      if (!mkdtemp(staging.data())) throw std::runtime_error("cannot create a folder in " + out.string());
      pieces = CutIntoPieces((resources / "Data2").string(), d.splitSize, (resources / "Data#1").string(), staging);
    }
    WriteManifest(resources.string(), staging, pieces);
    fs::permissions(root, static_cast<fs::perms>(0755));

    if (fs::exists(fs::symlink_status(bundle))) fs::remove_all(bundle);
    fs::rename(root, bundle);
    if (!staging.empty()) {
      LayOutPieces(staging, pieces, out.string(), discs);
      fs::remove(staging);
    }
  } catch (...) {
    std::error_code ec;
    fs::remove_all(root, ec);
    if (!staging.empty()) fs::remove_all(staging, ec);
    throw;
  }
  return bundle.string();
}

}  // namespace ostrel::bundler
