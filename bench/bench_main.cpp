// ostrel-bench: the installer's own file work, one operation per run, for
// bench/run.sh to time against the system's tools. Each operation calls the
// code the stub uses; `time` runs any command and reports its wall time and
// peak memory, so that ours and the tools are measured the same way.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "bundler/payload_zip.h"
#include "corpus.h"
#include "fileutil/view_const.h"
#include "framework/posix/posix_platform.h"
#include "framework/sha256.h"
#include "payload/archives.h"
#include "payload/manifest.h"
#include "payload/piece_join.h"
#include "payload/zip/zip_opener.h"

namespace {

const char* const kUsage =
    "usage: ostrel-bench corpus TOP [MB] | big FILE MIB | zip FOLDER TOPNAME ZIP\n"
    "                    | expand ZIP FOLDER | unscramble FILE | scramble FILE\n"
    "                    | delete PATH | copy SOURCE DESTINATION\n"
    "                    | manifest MANIFEST PIECE... | join [--manifest MANIFEST] OUT PIECE...\n"
    "                    | time RESULTFILE -- COMMAND [ARGS...]\n";

// A virtual machine that hands freed memory back to its host (free page
// reporting) makes the first touch of those pages slow, and the cost falls
// on whichever command allocates first: a second or more for a gigabyte.
// Touching memory just before each command, and freeing it, leaves pages
// ready for it, and both sides of a comparison start alike.
void WarmMemory(size_t bytes) {
  void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
  if (p != MAP_FAILED) munmap(p, bytes);
}

// Runs the command, waits, and appends "seconds peak-KiB exit-status" to the
// result file. The child's own rusage gives its peak resident memory.
int TimeCommand(const std::string& resultFile, std::vector<char*> argv) {
  argv.push_back(nullptr);
  WarmMemory(size_t(1536) << 20);
  const auto start = std::chrono::steady_clock::now();
  const pid_t pid = fork();
  if (pid < 0) return 1;
  if (pid == 0) {
    execvp(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid) return 1;
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  std::ofstream(resultFile, std::ios::app) << seconds << ' ' << usage.ru_maxrss << ' ' << code << '\n';
  return code;
}

int Expand(const std::string& zip, const std::string& folder) {
  // The opener's own job, as a launch of the working archive starts it.
  auto job = ostrel::StartZipExpansion(zip, folder);
  job->Wait();
  if (!job->Succeeded()) {
    std::fprintf(stderr, "ostrel-bench: expansion failed: %s\n", job->Error().c_str());
    return 1;
  }
  if (!job->UsedFastPath()) std::fprintf(stderr, "ostrel-bench: note: the general expander did this archive\n");
  return 0;
}

// The pieces' lines of a manifest, as the bundle builder writes them.
int WriteManifest(const std::string& manifest, const std::vector<std::string>& pieces) {
  std::ofstream out(manifest, std::ios::trunc);
  for (const auto& piece : pieces) {
    std::ifstream in(piece, std::ios::binary | std::ios::ate);
    const std::string name = piece.substr(piece.rfind('/') + 1);
    out << ostrel::PayloadManifest::Line({name, static_cast<uint64_t>(in.tellg()), fw::Sha256OfFile(piece)});
  }
  return out ? 0 : 1;
}

// Joins the pieces as a split setup's are joined, each checked against the
// manifest when one is given.
int Join(const std::string& manifestPath, const std::string& target, const std::vector<std::string>& pieces) {
  std::string text;
  if (!manifestPath.empty()) {
    std::ifstream in(manifestPath, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  const auto manifest = ostrel::PayloadManifest::Parse(text);
  const int out = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (out < 0) return 1;
  for (const auto& piece : pieces) {
    const auto outcome = ostrel::AppendPiece(out, piece, manifest.Find(piece.substr(piece.rfind('/') + 1)));
    if (outcome.kind != ostrel::PieceOutcome::Joined) {
      std::fprintf(stderr, "ostrel-bench: the piece %s was not joined\n", piece.c_str());
      close(out);
      return 1;
    }
  }
  return close(out) == 0 ? 0 : 1;
}

int Run(const std::vector<std::string>& a, std::vector<char*> raw) {
  const std::string op = a.empty() ? "" : a[0];
  if (op == "corpus" && (a.size() == 2 || a.size() == 3)) {
    const auto shape = a.size() == 3 ? ostrel::bench::ScaledShape(std::stoull(a[2])) : ostrel::bench::CorpusShape{};
    const auto sum = ostrel::bench::WriteCorpusTree(a[1], shape);
    std::printf("%llu files, %llu folders, %llu bytes\n", static_cast<unsigned long long>(sum.files),
                static_cast<unsigned long long>(sum.folders), static_cast<unsigned long long>(sum.bytes));
    return 0;
  }
  if (op == "big" && a.size() == 3) {
    ostrel::bench::WriteLargeFile(a[1], std::stoull(a[2]) << 20);
    return 0;
  }
  if (op == "zip" && a.size() == 4) {
    const auto sum = ostrel::bundler::WritePayloadZip(a[1], a[2], a[3]);
    std::printf("%llu files, %llu folders\n", static_cast<unsigned long long>(sum.files),
                static_cast<unsigned long long>(sum.folders));
    return 0;
  }
  if (op == "expand" && a.size() == 3) return Expand(a[1], a[2]);
  if ((op == "unscramble" || op == "scramble") && a.size() == 2) {
    ViewConst::EncryptDecryptFileEnd(a[1], op == "scramble");
    return 0;
  }
  if (op == "delete" && a.size() == 2) {
    ViewConst::DeleteFolderOrApp(a[1]);
    return 0;
  }
  if (op == "copy" && a.size() == 3) return ViewConst::CopyFolder(a[1], a[2]) ? 0 : 1;
  if (op == "manifest" && a.size() >= 3) return WriteManifest(a[1], {a.begin() + 2, a.end()});
  if (op == "join" && a.size() >= 5 && a[1] == "--manifest") return Join(a[2], a[3], {a.begin() + 4, a.end()});
  if (op == "join" && a.size() >= 3) return Join("", a[1], {a.begin() + 2, a.end()});
  if (op == "time" && a.size() >= 4 && a[2] == "--")
    return TimeCommand(a[1], std::vector<char*>(raw.begin() + 4, raw.end()));
  std::fputs(kUsage, stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  fw::PosixPlatform platform;  // the file routines give the platform a turn now and then
  fw::Install(&platform, nullptr);
  try {
    return Run(std::vector<std::string>(argv + 1, argv + argc), std::vector<char*>(argv, argv + argc));
  } catch (const std::exception& e) {
    std::fprintf(stderr, "ostrel-bench: %s\n", e.what());
    return 1;
  }
}
