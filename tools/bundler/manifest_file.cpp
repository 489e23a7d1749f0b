#include "bundler/manifest_file.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "framework/sha256.h"
#include "payload/manifest.h"

namespace ostrel::bundler {

void WriteManifest(const std::string& resources, const std::string& piecesFolder,
                   const std::vector<std::string>& pieces) {
  namespace fs = std::filesystem;
  std::string text;
  auto add = [&text](const std::string& folder, const std::string& name) {
    const std::string path = folder + "/" + name;
    if (!fs::is_regular_file(path)) return;
    const std::string digest = fw::Sha256OfFile(path);
    if (digest.empty()) throw std::runtime_error("cannot read " + path);
    text += PayloadManifest::Line({name, static_cast<uint64_t>(fs::file_size(path)), digest});
  };
  for (const char* name : {"Data2", "Data#1"}) add(resources, name);
  for (const auto& name : pieces) add(piecesFolder, name);
  add(resources, "Data3");
  std::ofstream out(resources + "/Manifest", std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("cannot write " + resources + "/Manifest");
}

}  // namespace ostrel::bundler
