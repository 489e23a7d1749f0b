#include "bundler/choice_archives.h"

#include <sys/stat.h>

#include <cctype>

#include "bundler/payload_zip.h"
#include "payload/zip/zip_entry_methods.h"
#include "framework/sha256.h"
#include "fileutil/view_const.h"
#include "framework/text.h"

namespace ostrel::bundler {
namespace {

const std::string kPlaceholderPin(64, '0');

bool IsFolder(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string Resolve(const std::string& base, const std::string& path) {
  return path.empty() || path[0] == '/' ? path : base + "/" + path;
}

bool IsSha256(const std::string& s) {
  if (s.size() != 64) return false;
  for (unsigned char c : s)
    if (!std::isxdigit(c)) return false;
  return true;
}

// A sub-field cannot hold the separators of the list.
void CheckText(const std::string& what, const std::string& text) {
  if (text.find_first_of("|,") != std::string::npos)
    throw BadInput(what + " cannot hold \"|\" or \",\", the separators of the choice and option lists");
}

std::string ArchiveName(bool option, size_t index) {
  return std::string(option ? "Option" : "Choice") + std::to_string(index + 1) + ".zip";
}

std::vector<ChoiceEntry>& EntriesOf(SetupDescription& d, bool option) {
  return option ? d.optionEntries : d.choiceEntries;
}

std::string MakeField(const std::vector<ChoiceEntry>& entries, bool option, const std::vector<std::string>& pins) {
  std::string field;
  for (size_t i = 0; i < entries.size(); ++i) {
    const ChoiceEntry& e = entries[i];
    if (i > 0) field += "|";
    field += e.caption + "," + (e.url.empty() ? ArchiveName(option, i) : e.url) + "," + e.folder + "," + e.help;
    if (!pins[i].empty()) field += ",sha256=" + pins[i];
  }
  return field;
}

// Checks each entry; a folder not given is the target's own, so that the
// archive is installed into the target itself.
void CheckEntries(std::vector<ChoiceEntry>& entries, bool option, const std::string& target) {
  const std::string kind = option ? "option" : "choice";
  for (size_t i = 0; i < entries.size(); ++i) {
    ChoiceEntry& e = entries[i];
    if (e.folder.empty()) e.folder = target;
    const std::string key = kind + "." + std::to_string(i + 1);
    if (e.caption.empty()) throw BadInput("\"" + key + "\", the caption, is missing or empty");
    CheckText(key, e.caption);
    CheckText(key + ".folder", e.folder);
    CheckText(key + ".help", e.help);
    if (e.folder == "." || e.folder == ".." || e.folder.find('/') != std::string::npos)
      throw BadInput(key + ".folder \"" + e.folder + "\" must be a plain folder name below the target");
    if (e.payloadFolder.empty() == e.url.empty())
      throw BadInput(key + " needs " + (option ? "exactly one of \"payload\" and \"url\"" : "a \"payload\" folder"));
    if ((!e.sha256.empty() || !e.uploadFolder.empty()) && e.url.empty())
      throw BadInput(key + ": a pin or an upload folder goes with a URL; a packed archive gets its own pin");
    if (!e.sha256.empty() && !e.uploadFolder.empty())
      throw BadInput(key + ": the upload folder's archive gets its own pin; leave out sha256");
  }
}

}  // namespace

bool SetChoiceKey(SetupDescription& d, const std::string& key, const std::string& value, const std::string& baseFolder) {
  const bool option = key.rfind("option.", 0) == 0;
  if (!option && key.rfind("choice.", 0) != 0) return false;
  const std::string rest = key.substr(7);
  const size_t dot = rest.find('.');
  const std::string number = rest.substr(0, dot), what = dot == std::string::npos ? "" : rest.substr(dot + 1);
  int n = 0;
  for (char c : number) n = std::isdigit(static_cast<unsigned char>(c)) && n < 1000 ? n * 10 + (c - '0') : -1;
  const std::string kind = option ? "option" : "choice";
  if (number.empty() || n < 1 || n > kMaxChoiceEntries)
    throw BadInput("\"" + key + "\": " + kind + "s are numbered from 1 to " + std::to_string(kMaxChoiceEntries) +
                   ", the rows of the dialog");
  auto& entries = EntriesOf(d, option);
  if (entries.size() < static_cast<size_t>(n)) entries.resize(static_cast<size_t>(n));
  ChoiceEntry& e = entries[static_cast<size_t>(n - 1)];

  if (what.empty() || what == "folder" || what == "help") CheckText("\"" + key + "\"", value);
  if (what.empty()) {
    e.caption = value;
  } else if (what == "payload") {
    e.payloadFolder = Resolve(baseFolder, value);
    if (!IsFolder(e.payloadFolder)) throw BadInput("no payload folder " + e.payloadFolder);
  } else if (what == "folder") {
    e.folder = value;
  } else if (what == "help") {
    e.help = value;
  } else if (option && what == "url") {
    if (!fw::EqualsIgnoreCase(value.substr(0, 7), "http://") && !fw::EqualsIgnoreCase(value.substr(0, 8), "https://"))
      throw BadInput("\"" + key + "\": the address must begin with http:// or https://");
    CheckText("\"" + key + "\"", value);
    e.url = value;
  } else if (option && what == "url_payload") {
    e.uploadFolder = Resolve(baseFolder, value);
    if (!IsFolder(e.uploadFolder)) throw BadInput("no folder " + e.uploadFolder);
  } else if (option && (what == "sha256" || what == "sha256_of")) {
    if (!e.sha256.empty()) throw BadInput("\"" + key + "\": give the pin either as sha256 or as sha256_of");
    if (what == "sha256") {
      if (!IsSha256(value)) throw BadInput("\"" + key + "\": expected 64 hexadecimal digits");
      e.sha256 = fw::AsciiLower(value);
    } else {
      const std::string file = Resolve(baseFolder, value);
      e.sha256 = fw::Sha256OfFile(file);
      if (e.sha256.empty()) throw BadInput("\"" + key + "\": cannot read " + file);
      // Refused here in the words the installer would use, not found out there.
      if (const std::string why = WhyZipFileCannotBeRead(file); !why.empty())
        throw BadInput("\"" + key + "\": the archive " + file + " could not be expanded: " + why);
    }
  } else {
    throw BadInput("unknown key \"" + key + "\"");
  }
  return true;
}

void PrepareChoiceFields(SetupDescription& d) {
  for (bool option : {false, true}) {
    auto& entries = EntriesOf(d, option);
    std::string& field = option ? d.installOptions : d.installChoices;
    const std::string kind = option ? "options" : "choices";
    if (entries.empty()) {
      if (!field.empty() && ViewConst::CountFields(field, "|") > kMaxChoiceEntries)
        throw BadInput("\"" + kind + "\" holds more than " + std::to_string(kMaxChoiceEntries) +
                       " entries; the dialog has ten rows");
      continue;
    }
    if (!field.empty()) throw BadInput("give the " + kind + " either as \"" + kind + "\" or as numbered keys, not both");
    CheckEntries(entries, option, d.targetFolder);
    std::vector<std::string> pins;
    for (const auto& e : entries) pins.push_back(e.url.empty() || !e.uploadFolder.empty() ? kPlaceholderPin : e.sha256);
    field = MakeField(entries, option, pins);
  }
}

namespace {

// Packs the folder at `zip` and answers the archive's SHA-256.
std::string PackAndPin(const std::string& folder, const std::string& zip) {
  WriteContentZip(folder, zip);
  std::string digest = fw::Sha256OfFile(zip);
  if (digest.empty()) throw std::runtime_error("cannot read back " + zip);
  return digest;
}

}  // namespace

void PackChoiceArchives(SetupDescription& d, const std::string& resources, const std::string& uploads) {
  for (bool option : {false, true}) {
    const auto& entries = EntriesOf(d, option);
    if (entries.empty()) continue;
    std::vector<std::string> pins;
    for (size_t i = 0; i < entries.size(); ++i) {
      const ChoiceEntry& e = entries[i];
      if (!e.uploadFolder.empty()) {
        pins.push_back(PackAndPin(e.uploadFolder, uploads + "/" + d.bundleName + "-" + ArchiveName(option, i)));
      } else if (!e.url.empty()) {
        pins.push_back(e.sha256);
      } else {
        const std::string zip = resources + "/" + ArchiveName(option, i);
        struct stat st;
        if (lstat(zip.c_str(), &st) == 0)
          throw BadInput("the bundle already holds a resource named " + ArchiveName(option, i));
        pins.push_back(PackAndPin(e.payloadFolder, zip));
      }
    }
    (option ? d.installOptions : d.installChoices) = MakeField(entries, option, pins);
  }
}

}  // namespace ostrel::bundler
