// Writes the seed inputs of the three fuzz targets: small setup records,
// pixel texts and zip archives, valid ones and a few that the installer
// must refuse. Run once; the results are committed under fuzz/corpus/.
#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fileutil/view_const.h"

namespace fs = std::filesystem;

namespace {

void Write(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// A setup record input: Data enciphered, a zero byte, then TextData.
std::string Record(const std::vector<std::string>& data, const std::vector<std::string>& text) {
  std::string clear, plain;
  for (size_t i = 0; i < data.size(); ++i) clear += (i ? "$|~" : "") + data[i];
  for (size_t i = 0; i < text.size(); ++i) plain += (i ? "|#|" : "") + text[i];
  return ViewConst::Encrypt(clear) + std::string(1, '\0') + plain;
}

// UTF-16LE in hexadecimal, as the authoring tool writes an HTML text.
std::string HexUtf16(const std::string& ascii) {
  static const char* digits = "0123456789ABCDEF";
  std::string out = "$HTML$";
  for (unsigned char c : ascii) out += std::string{digits[c >> 4], digits[c & 15], '0', '0'};
  return out;
}

void WriteRecords(const fs::path& dir) {
  std::vector<std::string> text(30);
  text[0] = "Read this first.|Then agree.";
  text[1] = "Welcome to Demo";
  text[2] = "https://example.com/demo";
  text[3] = "example.com";
  text[4] = HexUtf16("<HTML><b>Info</b>|more</HTML>");
  text[5] = "|Leave||||I Accept";
  text[6] = "/Applications/Demo";
  text[7] = "(c) Demo";
  text[8] = "Demo Setup";
  text[12] = "1";
  text[21] = "Full,Minimal";
  text[22] = "Extras,Docs";
  text[23] = "10.10";
  text[24] = "2048";
  text[25] = "https://example.com/done";
  text[26] = "Notes|before";
  text[27] = HexUtf16("Release|notes");
  text[28] = "UserAccount/Library/Demo";
  text[29] = "2";
  Write(dir / "full", Record({"2024-05-01 10:00", "1", "UserAccount/After.app", "FF[5]0[6],2,1", "",
                              "A[12],2,1", "1", "Before.app", "F[24],2,2", "0", "1", ""},
                             text));
  Write(dir / "data-only", Record({"stamp", "0", "", "", "", "000000,1,1"}, {}));
  // MacRoman bytes in TextData, and a picture whose text is too short.
  Write(dir / "macroman", Record({"x", "", "", "FF,9,9"}, {"Caf\x8E|ol\xE9", "", "", "", "plain", "\x8E|\x8F"}));
}

void WritePixels(const fs::path& dir) {
  auto pixels = [](int w, int h, const std::string& text) {
    return std::string{static_cast<char>(w), static_cast<char>(h)} + text;
  };
  Write(dir / "white", pixels(1, 1, "FF[5]"));
  Write(dir / "runs", pixels(2, 1, "A[2]B[2]C[8]"));
  Write(dir / "plain", pixels(2, 2, "000000FFFFFF123456ABCDEF"));
  Write(dir / "zero-count", pixels(1, 1, "F[0]0[6]"));
  Write(dir / "open-group", pixels(4, 4, "F[96"));
  Write(dir / "negative", pixels(-3, 2, "F[36]"));
}

struct Entry {
  std::string name;
  mode_t type;  // AE_IFREG, AE_IFDIR or AE_IFLNK
  std::string content;  // the link's target for a link
  mode_t perm = 0644;
};

void WriteZip(const fs::path& path, const std::vector<Entry>& entries, bool deflate) {
  fs::create_directories(path.parent_path());
  archive* a = archive_write_new();
  archive_write_set_format_zip(a);
  archive_write_set_options(a, deflate ? "zip:compression=deflate" : "zip:compression=store");
  if (archive_write_open_filename(a, path.c_str()) != ARCHIVE_OK) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    std::exit(1);
  }
  for (const auto& e : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, e.name.c_str());
    archive_entry_set_filetype(entry, e.type);
    archive_entry_set_perm(entry, e.type == AE_IFDIR ? 0755 : e.perm);
    archive_entry_set_mtime(entry, 1700000000, 0);
    if (e.type == AE_IFLNK) archive_entry_set_symlink(entry, e.content.c_str());
    archive_entry_set_size(entry, e.type == AE_IFREG ? static_cast<la_int64_t>(e.content.size()) : 0);
    archive_write_header(a, entry);
    if (e.type == AE_IFREG) archive_write_data(a, e.content.data(), e.content.size());
    archive_entry_free(entry);
  }
  archive_write_close(a);
  archive_write_free(a);
}

void WriteArchives(const fs::path& dir) {
  WriteZip(dir / "one-file.zip", {{"hello.txt", AE_IFREG, "hello\n"}}, false);
  WriteZip(dir / "nested.zip",
           {{"a/", AE_IFDIR, ""},
            {"a/b/", AE_IFDIR, ""},
            {"a/b/c.txt", AE_IFREG, std::string(300, 'c')},
            {"a/d.txt", AE_IFREG, "d"},
            {"e/", AE_IFDIR, ""},
            {"f/g/h.txt", AE_IFREG, "folders made on the way"}},
           true);
  WriteZip(dir / "links.zip",
           {{"bin/", AE_IFDIR, ""},
            {"bin/tool", AE_IFREG, "#!/bin/sh\necho tool\n", 0755},
            {"tool", AE_IFLNK, "bin/tool"},
            {"lib", AE_IFLNK, "bin"},
            {"bin/up", AE_IFLNK, "../tool"}},
           false);
  // Entries the expander must refuse: a climb, a link out, a write through it.
  WriteZip(dir / "escape.zip",
           {{"ok.txt", AE_IFREG, "ok"},
            {"up", AE_IFLNK, "../canary"},
            {"up/pwned", AE_IFREG, "outside"},
            {"../pwned", AE_IFREG, "outside"}},
           false);
  WriteZip(dir / "setuid.zip", {{"s/run", AE_IFREG, "x", 04755}, {"s/grp", AE_IFREG, "y", 02755}}, true);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
    return 2;
  }
  const fs::path root = argv[1];
  WriteRecords(root / "fuzz_record");
  WritePixels(root / "fuzz_pixels");
  WriteArchives(root / "fuzz_archive");
  return 0;
}
