// ostrel-bench-net: the download row of the bench, apart from ostrel-bench
// so that the Qt libraries it needs do not weigh on the other rows' memory.
//   ostrel-bench-net serve BYTES       serves BYTES at /big, prints the URL
//   ostrel-bench-net download URL FILE fetches URL into FILE
#include <cstdio>
#include <exception>
#include <string>

#include "download.h"

int main(int argc, char** argv) {
  try {
    const std::string op = argc > 1 ? argv[1] : "";
    if (op == "serve" && argc == 3) return ostrel::bench::Serve(std::stoll(argv[2]));
    if (op == "download" && argc == 4) return ostrel::bench::Download(argv[2], argv[3], argv[0]);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "ostrel-bench-net: %s\n", e.what());
    return 1;
  }
  std::fputs("usage: ostrel-bench-net serve BYTES | download URL FILE\n", stderr);
  return 2;
}
