// ostrel-bundle DESCRIPTION --stub PATH --out FOLDER
// Builds the setup bundle that DESCRIPTION describes and prints its path.
// Exit codes: 0 done, 1 writing failed, 2 bad arguments or description.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "bundler/bundle.h"
#include "bundler/description_file.h"
#include "framework/posix/posix_platform.h"

namespace {

constexpr int kFailed = 1;
constexpr int kBadInput = 2;

const char* const kUsage =
    "usage: ostrel-bundle DESCRIPTION --stub PATH --out FOLDER [--thin]\n"
    "Builds FOLDER/<name>.app from the setup description and the stub executable,\n"
    "and prints the bundle's path. The bundle carries the libraries and Qt plugins\n"
    "the stub needs beyond a receiver's base system; --thin leaves them out (the\n"
    "receiver must then have Qt 6, libarchive, libdeflate and OpenSSL 3 installed).\n"
    "The description format is in tools/bundler/README.md.\n";

struct Arguments {
  std::string description, stub, out;
  bool thin = false;
};

bool ParseArguments(const std::vector<std::string>& args, Arguments& a, std::string& error) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--stub" || arg == "--out") {
      if (i + 1 == args.size()) return error = arg + " needs a value", false;
      (arg == "--stub" ? a.stub : a.out) = args[++i];
    } else if (arg == "--thin") {
      a.thin = true;
    } else if (!arg.empty() && arg[0] == '-') {
      return error = "unknown option " + arg, false;
    } else if (a.description.empty()) {
      a.description = arg;
    } else {
      return error = "only one description may be given", false;
    }
  }
  if (a.description.empty()) return error = "no description given", false;
  if (a.stub.empty()) return error = "--stub is missing", false;
  if (a.out.empty()) return error = "--out is missing", false;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  Arguments a;
  std::string error;
  if (!ParseArguments(args, a, error)) {
    std::fprintf(stderr, "ostrel-bundle: %s\n%s", error.c_str(), kUsage);
    return kBadInput;
  }

  // The payload is scrambled by the installer's own file routines, which
  // give the platform a turn now and then.
  fw::PosixPlatform platform;
  fw::Install(&platform, nullptr);
  try {
    const auto description = ostrel::bundler::ReadDescriptionFile(a.description);
    std::printf("%s\n", ostrel::bundler::BuildBundle(description, a.stub, a.out, !a.thin).c_str());
    return 0;
  } catch (const ostrel::bundler::BadInput& e) {
    std::fprintf(stderr, "ostrel-bundle: %s\n", e.what());
    return kBadInput;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "ostrel-bundle: %s\n", e.what());
    return kFailed;
  }
}
