// A deterministic demo payload, so that the demo setup needs no committed
// tree of hundreds of files.
#pragma once

#include <string>

namespace ostrel::bundler {

// Writes `files` regular files (at least 10) into the new folder `dir`, in
// nested folders several levels deep: text files of varied sizes, an
// executable script, three binary files of up to 3 MB, an empty folder and
// one symbolic link. The same count always gives the same tree, times
// included. Throws std::runtime_error when `dir` exists or cannot be written.
void MakeDemoPayload(const std::string& dir, int files);

}  // namespace ostrel::bundler
