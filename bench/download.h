// The download row of the bench: the project's own local server, and a
// download through the stub's HTTP client the way an option's archive is
// fetched (the transport on its thread, the unseen modal wait, the body
// streamed into a file).
#pragma once

#include <cstdint>
#include <string>

namespace ostrel::bench {

// Serves BYTES of a fixed pattern at /big on 127.0.0.1 and prints the URL;
// ends when its standard input closes.
int Serve(int64_t bytes);

// Downloads URL into FILE (made anew) and prints the number of bytes.
int Download(const std::string& url, const std::string& file, char* programName);

}  // namespace ostrel::bench
