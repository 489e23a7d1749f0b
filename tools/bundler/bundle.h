// Building an installer bundle from a setup description and the stub.
#pragma once

#include <string>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

// Writes "<outputFolder>/<bundleName>.app" and answers its path:
//   Contents/MacOS/<executable>  a stripped copy of the stub, mode 0755
//   Install <name>               a link to it, what a person double-clicks
//   Contents/Resources/Data      the enciphered record
//   Contents/Resources/TextData  the text record, UTF-8
//   Contents/Resources/Data2     the payload, a zip archive, scrambled
//   Contents/Resources/Data3     the clean-up program, when `cleanup` is not 0
//   Contents/Resources/<name>    each resource, under its own name
//   Contents/Resources/Manifest  size and SHA-256 of each payload file
// A split setup has Data#1 in place of Data2, and its other pieces beside
// the bundle or in one folder per disc (see payload_pieces.h); the bundle
// then lies in "<outputFolder>/Disc1".
// The bundle is assembled beside its final place and takes it only when
// complete; an earlier bundle of the same name is then replaced. A
// generated demo payload is written to "<outputFolder>/payload/<target>".
// An empty time stamp becomes the current UTC time.
// Throws BadInput for a description that cannot be built, and
// std::runtime_error when writing fails. The scrambling of the payload runs
// through the installer's own file routines, so a framework platform must be
// installed (the command installs the POSIX one).
// With `carryRuntime` the bundle also holds Contents/Frameworks and
// Contents/PlugIns (carried_runtime.h), and runs where neither Qt nor the
// archive libraries are installed; the command does this unless --thin.
// Either way the stub is a stripped copy, and the bundle's top holds a link
// "Install <name>" to it for a person who opens the bundle's folder.
std::string BuildBundle(const SetupDescription& description, const std::string& stubBinary,
                        const std::string& outputFolder, bool carryRuntime = false);

}  // namespace ostrel::bundler
