// The fast expander of common zip archives: the central directory is read
// and every entry checked first; then two threads write the files, each
// created relative to an open folder without following any link, with the
// content inflated by libdeflate. Archives it does not handle (encryption,
// other methods, symbolic links, anything odd) are left to the general
// expander, decided before anything is written.
#pragma once

#include <optional>
#include <string>

#include "payload/zip/zip_expand.h"

namespace ostrel {

// The outcome, or nothing when the general expander is to do this archive.
// `folder` is an existing folder's path free of links.
std::optional<ExpandResult> TryFastExpansion(const std::string& archive, const std::string& folder,
                                             ExpandProgress& progress, const ExpandRules& rules = {});

}  // namespace ostrel
