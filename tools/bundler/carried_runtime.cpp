#include "bundler/carried_runtime.h"

#include <elf.h>
#include <spawn.h>
#include <sys/wait.h>

#include <QLibraryInfo>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include "bundler/setup_description.h"

extern char** environ;

namespace ostrel::bundler {
namespace fs = std::filesystem;

namespace {

// The libraries of the receiver's base packages (libc6, libstdc++6,
// libgcc-s1, zlib1g, libx11-6, libx11-xcb1, libxcb1, libfontconfig1,
// libfreetype6, libglib2.0-0, libdbus-1-3, libglvnd0, libgl1, libegl1,
// libopengl0) and of the packages those depend on.
const char* const kBaseSystem[] = {
    // libc6: the C runtime and the loader
    "ld-linux-x86-64.so.2", "libc.so.6", "libm.so.6", "libpthread.so.0", "libdl.so.2", "librt.so.1",
    "libresolv.so.2", "libutil.so.1", "libanl.so.1", "libmvec.so.1", "libnsl.so.1",
    // the C++ runtime, zlib
    "libstdc++.so.6", "libgcc_s.so.1", "libz.so.1",
    // X11 and the xcb core, with libxau6, libxdmcp6, libbsd0, libmd0
    "libX11.so.6", "libX11-xcb.so.1", "libxcb.so.1", "libXau.so.6", "libXdmcp.so.6", "libbsd.so.0", "libmd.so.0",
    // fontconfig and freetype, with libexpat1, libpng16-16, libbrotli1
    "libfontconfig.so.1", "libfreetype.so.6", "libexpat.so.1", "libpng16.so.16", "libbrotlidec.so.1",
    "libbrotlicommon.so.1",
    // GLib, with libffi8, libmount1, libblkid1, libselinux1, libpcre2-8-0
    "libglib-2.0.so.0", "libgobject-2.0.so.0", "libgio-2.0.so.0", "libgmodule-2.0.so.0", "libgthread-2.0.so.0",
    "libffi.so.8", "libmount.so.1", "libblkid.so.1", "libselinux.so.1", "libpcre2-8.so.0",
    // D-Bus, with libsystemd0 and what it needs
    "libdbus-1.so.3", "libsystemd.so.0", "libcap.so.2", "libgcrypt.so.20", "libgpg-error.so.0", "liblz4.so.1",
    "liblzma.so.5", "libzstd.so.1",
    // the GL dispatch libraries; the drivers behind them are the machine's
    "libGLdispatch.so.0", "libGL.so.1", "libGLX.so.0", "libEGL.so.1", "libOpenGL.so.0",
};

// The plugins a run of the stub loads: the X11 platform and its GL
// integrations, the offscreen platform of runs without a display, the TLS
// backends of https downloads, the compose input context, and the image
// formats a setup's pictures may come in.
const char* const kPlugins[] = {
    "platforms/libqxcb.so",
    "platforms/libqoffscreen.so",
    "xcbglintegrations/libqxcb-glx-integration.so",
    "xcbglintegrations/libqxcb-egl-integration.so",
    "tls/libqopensslbackend.so",
    "tls/libqcertonlybackend.so",
    "platforminputcontexts/libcomposeplatforminputcontextplugin.so",
    "imageformats/libqgif.so",
    "imageformats/libqico.so",
    "imageformats/libqjpeg.so",
};

// Loaded by name at run time (the OpenSSL backend opens libssl itself), so
// no dynamic section names them.
// The X cursor library is opened the same way by the X11 platform, for the
// themed cursors.
const char* const kOpenedAtRunTime[] = {"libssl.so.3", "libcrypto.so.3", "libXcursor.so.1"};

const char* const kCarriedRunPath = "$ORIGIN/../Frameworks";

struct Dynamic {
  std::vector<std::string> needed;
  std::string runPath;
};

Dynamic ReadDynamic(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto bad = [&] { return std::runtime_error(file + " is not a 64-bit ELF file this builder can read"); };
  if (bytes.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0 ||
      bytes[EI_CLASS] != ELFCLASS64)
    throw bad();
  Elf64_Ehdr eh;
  std::memcpy(&eh, bytes.data(), sizeof eh);
  const auto section = [&](size_t i) {
    Elf64_Shdr sh;
    const size_t at = eh.e_shoff + i * sizeof(Elf64_Shdr);
    if (eh.e_shentsize != sizeof(Elf64_Shdr) || at + sizeof sh > bytes.size()) throw bad();
    std::memcpy(&sh, bytes.data() + at, sizeof sh);
    return sh;
  };
  Dynamic result;
  for (size_t i = 0; i < eh.e_shnum; ++i) {
    const Elf64_Shdr dyn = section(i);
    if (dyn.sh_type != SHT_DYNAMIC) continue;
    const Elf64_Shdr strtab = section(dyn.sh_link);
    if (dyn.sh_offset + dyn.sh_size > bytes.size() || strtab.sh_offset + strtab.sh_size > bytes.size()) throw bad();
    const auto text = [&](uint64_t at) {
      if (at >= strtab.sh_size) throw bad();
      const char* s = bytes.data() + strtab.sh_offset + at;
      return std::string(s, strnlen(s, strtab.sh_size - at));
    };
    for (uint64_t at = 0; at + sizeof(Elf64_Dyn) <= dyn.sh_size; at += sizeof(Elf64_Dyn)) {
      Elf64_Dyn d;
      std::memcpy(&d, bytes.data() + dyn.sh_offset + at, sizeof d);
      if (d.d_tag == DT_NULL) break;
      if (d.d_tag == DT_NEEDED) result.needed.push_back(text(d.d_un.d_val));
      if (d.d_tag == DT_RPATH || d.d_tag == DT_RUNPATH) result.runPath = text(d.d_un.d_val);
    }
  }
  return result;
}

std::vector<fs::path> LibraryFolders() {
  std::vector<fs::path> folders{QLibraryInfo::path(QLibraryInfo::LibrariesPath).toStdString(),
                                "/usr/local/lib/x86_64-linux-gnu", "/usr/local/lib", "/lib/x86_64-linux-gnu",
                                "/usr/lib/x86_64-linux-gnu", "/lib64", "/usr/lib64", "/lib", "/usr/lib"};
  return folders;
}

fs::path FindLibrary(const std::string& soname, const std::string& neededBy) {
  for (const fs::path& folder : LibraryFolders()) {
    std::error_code ec;
    if (fs::is_regular_file(folder / soname, ec)) return folder / soname;
  }
  throw std::runtime_error("the library " + soname + " that " + neededBy + " needs is not on this machine");
}

void CopyResolved(const fs::path& from, const fs::path& to) {
  fs::create_directories(to.parent_path());
  fs::copy_file(fs::canonical(from), to, fs::copy_options::overwrite_existing);
  fs::permissions(to, static_cast<fs::perms>(0755));
}

}  // namespace

bool InBaseSystem(const std::string& soname) {
  return std::any_of(std::begin(kBaseSystem), std::end(kBaseSystem),
                     [&](const char* base) { return soname == base; });
}

std::vector<std::string> NeededLibraries(const std::string& elfFile) { return ReadDynamic(elfFile).needed; }

std::string LinkedRunPath(const std::string& elfFile) { return ReadDynamic(elfFile).runPath; }

bool IsElfFile(const std::string& file) {
  char magic[SELFMAG] = {};
  std::ifstream(file, std::ios::binary).read(magic, sizeof magic);
  return std::memcmp(magic, ELFMAG, SELFMAG) == 0;
}

void CopyProgram(const std::string& program, const std::string& destination) {
  if (!IsElfFile(program)) {
    fs::copy_file(program, destination);
    fs::permissions(destination, static_cast<fs::perms>(0755));
    return;
  }
  // One process for the one executable, by argument list.
  std::vector<std::string> args{"strip", "--strip-all", "-o", destination, program};
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid;
  int status = 0;
  if (posix_spawnp(&pid, "strip", nullptr, nullptr, argv.data(), environ) != 0 || waitpid(pid, &status, 0) != pid ||
      !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw std::runtime_error("strip could not make a stripped copy of " + program +
                             " (it comes with binutils; a --thin bundle needs none)");
  fs::permissions(destination, static_cast<fs::perms>(0755));
}

std::vector<std::string> CarryRuntime(const std::string& stub, const std::string& contents) {
  if (LinkedRunPath(stub).find(kCarriedRunPath) == std::string::npos)
    throw BadInput("the stub " + stub + " was not linked to find a carried runtime (its run path lacks " +
                   kCarriedRunPath + "); build it with this project's CMake, or make a --thin bundle");
  const fs::path root(contents);
  const fs::path plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString();
  std::vector<std::string> carried;
  std::set<std::string> seen;
  std::vector<std::pair<fs::path, std::string>> pending;  // a file whose needs are still to be read, and its name
  const auto need = [&](const std::string& soname, const std::string& by) {
    if (InBaseSystem(soname) || !seen.insert(soname).second) return;
    const fs::path found = FindLibrary(soname, by);
    CopyResolved(found, root / "Frameworks" / soname);
    carried.push_back("Frameworks/" + soname);
    pending.emplace_back(found, soname);
  };
  pending.emplace_back(stub, fs::path(stub).filename().string());
  for (const char* name : kOpenedAtRunTime) need(name, "a Qt plugin");
  for (const char* plugin : kPlugins) {
    const fs::path source = plugins / plugin;
    if (!fs::is_regular_file(source))
      throw std::runtime_error("the Qt plugin " + source.string() + " is not on this machine");
    CopyResolved(source, root / "PlugIns" / plugin);
    carried.push_back(std::string("PlugIns/") + plugin);
    pending.emplace_back(source, plugin);
  }
  while (!pending.empty()) {
    const auto [file, name] = pending.back();
    pending.pop_back();
    for (const std::string& soname : NeededLibraries(file.string())) need(soname, name);
  }
  return carried;
}

}  // namespace ostrel::bundler
