// Choices and options of a setup: the numbered keys of the description, the
// record fields made from them, and their archives packed into the bundle,
// each with its integrity pin "sha256=<hex>" as the entry's fifth sub-field.
#pragma once

#include <string>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

// Fills one numbered key: "choice.N" (the caption) or "choice.N.<what>",
// the same for "option.N". False when the key is not one of these. Throws
// BadInput for a number out of range or a value that cannot be used.
// Folders and files are relative to `baseFolder`.
bool SetChoiceKey(SetupDescription& d, const std::string& key, const std::string& value,
                  const std::string& baseFolder);

// Checks the entries and makes the record fields from them, a placeholder
// pin standing for each archive still to be packed. Either the numbered
// entries or the fields as written, never both; at most ten entries each.
void PrepareChoiceFields(SetupDescription& d);

// Packs each entry's folder as "Choice<N>.zip" or "Option<N>.zip" into
// `resources`, and a URL option's upload folder as
// "<bundle name>-Option<N>.zip" into `uploads`, and writes the archives'
// real pins into the fields.
void PackChoiceArchives(SetupDescription& d, const std::string& resources, const std::string& uploads);

}  // namespace ostrel::bundler
