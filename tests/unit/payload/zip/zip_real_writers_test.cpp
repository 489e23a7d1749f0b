// Payloads as publishers make them, with the tools they use (git archive,
// Info-ZIP's zip, bsdtar, Python's zipfile with every method it writes):
// each lands exactly as its source, in a top folder whose name is stored
// decomposed, as a Mac stores it. What the installer cannot read is named
// before anything is written, and "damaged" is said only of damage.
#include <sys/stat.h>

#include <filesystem>

#include "payload/zip/zip_expand.h"
#include "support/raw_zip.h"
#include "support/sandbox.h"
#include "support/snapshot.h"
#include "support/x_session.h"

namespace ostrel::test {
namespace {

const std::string kTop = "Cafe\xCC\x81 Tool";  // decomposed, as HFS+ and Mac archives store it

// Writes `src` (its one folder) as a zip at `out`: links as links, each file
// in the method its name asks for, the others in turn, empty ones too.
const char* kPythonWriter = R"(
import os, sys, zipfile
src, out = sys.argv[1], sys.argv[2]
methods = [zipfile.ZIP_LZMA, zipfile.ZIP_BZIP2, zipfile.ZIP_DEFLATED, zipfile.ZIP_STORED]
named = {'lzma': zipfile.ZIP_LZMA, 'bzip2': zipfile.ZIP_BZIP2, 'deflate': zipfile.ZIP_DEFLATED, 'stored': zipfile.ZIP_STORED}
with zipfile.ZipFile(out, 'w') as z:
    n = 0
    for folder, dirs, files in sorted(os.walk(os.fsencode(src))):
        for name in sorted(dirs + files):
            path = os.path.join(folder, name)
            arc = os.fsdecode(os.path.relpath(path, os.path.dirname(os.fsencode(src))))
            if os.path.islink(path):
                info = zipfile.ZipInfo(arc)
                info.create_system = 3
                info.external_attr = (0o120777 << 16)
                z.writestr(info, os.readlink(path))
            elif os.path.isdir(path):
                z.write(path, arc)
            else:
                n += 1
                z.write(path, arc, compress_type=named.get(os.fsdecode(name), methods[n % 4]))
)";

class PayloadZipRealWritersTest : public SandboxTest {
 protected:
  void MakeSource() {
    const std::string top = At("src/" + kTop);
    WriteFile(top + "/Caf\xC3\xA9.txt", "composed");
    WriteFile(top + "/Cafe\xCC\x81.txt", "decomposed");
    WriteFile(top + "/bin/tool", "#!/bin/sh\necho tool\n");
    chmod((top + "/bin/tool").c_str(), 0755);
    std::string text;
    for (int i = 0; i < 2000; ++i) text += "line " + std::to_string(i % 37) + " of the guide\n";
    WriteFile(top + "/docs/guide.txt", text);
    for (const char* name : {"lzma", "bzip2", "deflate", "stored"}) WriteFile(top + "/empty/" + name, "");
    fs::create_symlink("bin/tool", top + "/latest");
    fs::create_symlink("../bin/tool", top + "/docs/tool");  // from its own folder
  }
};

TEST_F(PayloadZipRealWritersTest, EachWritersPayloadLandsExactlyAsItsSource) {
  MakeSource();
  const std::string src = At("src"), top = At("src/" + kTop);
  const struct {
    const char* writer;
    std::vector<std::string> argv;  // writes At("out.zip")
  } writers[] = {
      {"python zipfile", {"python3", "-c", kPythonWriter, top, At("out.zip")}},
      {"Info-ZIP zip", {"sh", "-c", "cd \"$0\" && zip -qry \"$1\" \"$2\"", src, At("out.zip"), kTop}},
      {"bsdtar", {"bsdtar", "-C", src, "--format", "zip", "-cf", At("out.zip"), kTop}},
      {"git archive", {"sh", "-c",
                       "cd \"$0\" && git init -q && git add -A && git -c user.name=t -c user.email=t@t commit -qm t && "
                       "git archive --format=zip --prefix=\"$2/\" -o \"$1\" HEAD && rm -rf .git",
                       top, At("out.zip"), kTop}},
  };
  int ran = 0;
  for (const auto& w : writers) {
    SCOPED_TRACE(w.writer);
    fs::remove(At("out.zip"));
    if (RunProgram({"sh", "-c", "command -v \"$0\"", w.argv[0]}) != 0) continue;  // not on this machine
    ++ran;
    ASSERT_EQ(RunProgram(w.argv, nullptr, {{"LC_ALL", "C.UTF-8"}}), 0);
    fs::remove_all(At("dest"));
    const ExpandResult r = ExpandZipArchive(At("out.zip"), At("dest"), nullptr, {kTop});
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(TreeDiff(src, At("dest")), "");
  }
  EXPECT_GT(ran, 0) << "python3 is part of the build";
}

TEST_F(PayloadZipRealWritersTest, WhatCannotBeReadIsNamedBeforeAnythingIsWritten) {
  const struct {
    RawEntry entry;
    std::string error;
  } cases[] = {
      {RawEntry{.name = "a/big.bin", .content = "x", .method = 9},
       "the entry \"a/big.bin\" uses Deflate64, a compression method this setup cannot read"},
      {RawEntry{.name = "a/p.txt", .content = "x", .method = 98},
       "the entry \"a/p.txt\" uses PPMd, a compression method this setup cannot read"},
      {RawEntry{.name = "a/s.txt", .content = "x", .flags = 0x0001}, "the entry \"a/s.txt\" is protected by a password"},
      {RawEntry{.name = "a/aes.txt", .content = "x", .method = 99}, "the entry \"a/aes.txt\" is protected by a password"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    // Readable entries come first: none of them may be written.
    WriteFile(At("bad.zip"), BuildRawZip({File("a/first.txt", "first"), Packed("a/second.txt", "second"), c.entry}));
    const ExpandResult r = ExpandZipArchive(At("bad.zip"), At("dest"));
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, c.error);
    EXPECT_TRUE(fs::is_empty(At("dest")));
  }
}

TEST_F(PayloadZipRealWritersTest, BytesLikeAZip64LocatorAtTheDirectorysEndAreNotOne) {
  // The last entry's comment ends the directory with the locator's signature,
  // in an archive that defers nothing to zip64: unzip and Python read it.
  const char* script = R"(
import sys, zipfile
with zipfile.ZipFile(sys.argv[1], 'w') as z:
    z.writestr('a.txt', 'a')
    info = zipfile.ZipInfo('PK\x06\x06.txt')
    info.comment = b'PK\x06\x07' + bytes(16)
    z.writestr(info, 'b')
)";
  ASSERT_EQ(RunProgram({"python3", "-c", script, At("odd.zip")}), 0);
  const ExpandResult r = ExpandZipArchive(At("odd.zip"), At("dest"));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(TreeOf(At("dest")), (Tree{{"a.txt", "a"}, {"PK\x06\x06.txt", "b"}}));
}

}  // namespace
}  // namespace ostrel::test
