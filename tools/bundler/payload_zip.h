// The payload archive: a folder's content under one top-level entry.
#pragma once

#include <cstdint>
#include <string>

namespace ostrel::bundler {

struct ZipSummary {
  uint64_t files = 0, folders = 0, links = 0;
  uint64_t bytes = 0;  // of the files' content, before compression
};

// Writes a deflated zip archive at `zipPath` whose one top-level folder
// `topName` holds the content of `folder`, recursively, in name order:
// files streamed in small pieces, folders, symbolic links stored as links,
// permission bits and modification times kept. Throws BadInput for a missing
// folder or an item that is neither file, folder nor link, and
// std::runtime_error when the archive cannot be written.
ZipSummary WritePayloadZip(const std::string& folder, const std::string& topName, const std::string& zipPath);

// The same with the folder's content at the archive's top level, as a
// choice's or option's archive is expanded into its folder.
ZipSummary WriteContentZip(const std::string& folder, const std::string& zipPath);

}  // namespace ostrel::bundler
