// The entries of fInstallChoices and fInstallOptions: "|" between entries,
// "," between the sub-fields caption, payload, folder, help tag and an
// optional integrity pin "sha256=<64 hexadecimal digits>".
#pragma once

#include <string>
#include <vector>

namespace ostrel {

// The dialogs have ten rows; entries past the tenth are ignored everywhere.
constexpr int kMaxChoiceEntries = 10;

// The first ten entries of the field; none for an empty field. A trailing
// "|" makes one more, empty, entry.
std::vector<std::string> ChoiceEntries(const std::string& field);

// Sub-field `n` (from 1), empty past the last.
std::string EntryField(const std::string& entry, int n);

// The fifth sub-field, where a pin stands.
std::string EntryPin(const std::string& entry);

// True when `pin` holds no "sha256=" pin, or when the file's digest equals
// it. A pin that is not 64 hexadecimal digits matches nothing.
bool ArchiveMatchesPin(const std::string& pin, const std::string& archivePath);

// "The archive <name> is damaged: its checksum does not match."
std::string DamagedArchiveMessage(const std::string& name);

}  // namespace ostrel
