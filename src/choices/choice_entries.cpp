#include "choices/choice_entries.h"

#include <algorithm>
#include <cctype>

#include "framework/sha256.h"
#include "fileutil/view_const.h"
#include "framework/text.h"

namespace ostrel {
namespace {

const char* const kPinPrefix = "sha256=";

bool IsSha256Hex(const std::string& s) {
  if (s.size() != 64) return false;
  for (unsigned char c : s)
    if (!std::isxdigit(c)) return false;
  return true;
}

}  // namespace

std::vector<std::string> ChoiceEntries(const std::string& field) {
  std::vector<std::string> entries;
  if (field.empty()) return entries;
  const int count = std::min(ViewConst::CountFields(field, "|"), kMaxChoiceEntries);
  for (int i = 1; i <= count; ++i) entries.push_back(ViewConst::NthField(field, "|", i));
  return entries;
}

std::string EntryField(const std::string& entry, int n) { return ViewConst::NthField(entry, ",", n); }

std::string EntryPin(const std::string& entry) { return EntryField(entry, 5); }

bool ArchiveMatchesPin(const std::string& pin, const std::string& archivePath) {
  const std::string prefix = kPinPrefix;
  if (!fw::EqualsIgnoreCase(pin.substr(0, prefix.size()), prefix)) return true;
  const std::string expected = pin.substr(prefix.size());
  if (!IsSha256Hex(expected)) return false;
  const std::string actual = fw::Sha256OfFile(archivePath);
  return !actual.empty() && fw::EqualsIgnoreCase(actual, expected);
}

std::string DamagedArchiveMessage(const std::string& name) {
  return "The archive " + name + " is damaged: its checksum does not match.";
}

}  // namespace ostrel
