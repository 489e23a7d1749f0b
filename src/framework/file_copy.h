// Streaming file copy that never leaves a half-written destination: the data
// goes to a new file beside the destination, which replaces it only once
// complete. Answers 0 or the errno of the failure.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace fw {

int CopyRegularFile(const std::string& source, const std::string& destination);

// The suffix of the part files that grow beside a file until they replace it.
inline constexpr char kPartSuffix[] = ".part";

// Creates a new file with a unique hidden name of the stub's own beside
// `finalPath` for writing (see own_files.h). Answers the descriptor (or -1,
// with errno set) and the path chosen.
int CreateSiblingTemp(const std::string& finalPath, std::string& tempPath, mode_t mode = 0644);

// Writes all of `data`, going on after interruptions; 0 or the errno of the
// failure (EIO when the system writes nothing).
int WriteAll(int fd, const void* data, size_t size);

// Copies `size` bytes from the current offset of `in` to `out`: by the
// kernel where it can, else through `buffer`. 0 or the errno of the failure.
int CopyContent(int in, int out, off_t size, std::vector<char>& buffer);

}  // namespace fw
