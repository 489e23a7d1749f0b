// Laying out the setup record's fields. The installer splits each file at
// the first separator it meets, so a value that holds a separator, or that
// would form one with its neighbour, is refused here rather than read back
// as something else.
#include "bundler/record_fields.h"

#include "fileutil/view_const.h"
#include "framework/text.h"

namespace ostrel::bundler {
namespace {

const char* const kDataSeparator = "$|~";
const char* const kTextSeparator = "|#|";
constexpr int kDataFields = 12;
constexpr int kTextFields = 30;

std::string Flag(bool b) { return b ? "1" : "0"; }

std::string NormalizeLineBreaks(const std::string& s) {
  return ViewConst::ReplaceAll(ViewConst::ReplaceAll(s, "\r\n", "\n"), "\r", "\n");
}

std::string HexUtf16(const std::string& utf8) {
  static const char* const kDigits = "0123456789ABCDEF";
  const std::string units = fw::Utf8ToUtf16(utf8, true);
  std::string hex;
  hex.reserve(units.size() * 2);
  for (unsigned char b : units) {
    hex += kDigits[b >> 4];
    hex += kDigits[b & 15];
  }
  return hex;
}

// The installer shows a text as HTML only when it holds "<HTML>" in some
// case; a fragment gets the tag around it, and a tag with attributes, which
// the installer would not recognise, is refused.
std::string AsInstallerHtml(const std::string& text, const std::string& what) {
  if (fw::FindIgnoreCase(text, "<html>") != std::string::npos) return text;
  if (fw::FindIgnoreCase(text, "<html") != std::string::npos)
    throw BadInput(what + ": the installer recognises HTML by the tag <html> written without attributes; "
                          "write <html> instead of the tag with attributes");
  return "<html>" + text + "</html>";
}

std::string EncodeChecked(const LongText& text, const std::string& what) {
  if (text.content.empty()) return {};
  std::string content = NormalizeLineBreaks(text.content);
  if (text.html) return "$HTML$" + HexUtf16(AsInstallerHtml(content, what));
  // "|" is the line break of these fields: a text that holds one itself
  // travels in the hexadecimal form, where no "|" is turned into anything.
  if (content.find('|') != std::string::npos) return "$HTML$" + HexUtf16(content);
  return ViewConst::ReplaceAll(content, "\n", "|");
}

std::string LabelsField(const std::map<int, std::string>& labels) {
  for (const auto& [index, text] : labels) {
    if (index < 0 || index > kLastLabelIndex)
      throw BadInput("custom label " + std::to_string(index) + ": labels run from 0 to " +
                     std::to_string(kLastLabelIndex));
    if (text.find('|') != std::string::npos)
      throw BadInput("custom label " + std::to_string(index) + " cannot hold \"|\", the labels' separator");
  }
  if (labels.empty()) return {};
  // Positional: the labels not given stay empty, which keeps their defaults.
  std::string field;
  for (int i = 0; i <= labels.rbegin()->first; ++i) {
    if (i > 0) field += '|';
    if (auto it = labels.find(i); it != labels.end()) field += it->second;
  }
  return field;
}

}  // namespace

std::string EncodeLongText(const LongText& text) { return EncodeChecked(text, "text"); }

std::string JoinFields(const std::vector<std::string>& fields, const std::string& separator,
                       const std::vector<std::string>& names) {
  std::string joined;
  for (size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) joined += separator;
    joined += fields[i];
  }
  for (size_t i = 0; i < fields.size(); ++i) {
    if (ViewConst::NthField(joined, separator, static_cast<int>(i) + 1) != fields[i]) {
      const std::string name = i < names.size() && !names[i].empty() ? names[i] : "field " + std::to_string(i + 1);
      throw BadInput(name + " cannot be stored: it holds, or forms with its neighbour, the record's separator \"" +
                     separator + "\"");
    }
  }
  return joined;
}

std::string DataRecordText(const SetupDescription& d, const PictureFields& pictures) {
  std::vector<std::string> f(kDataFields);
  std::vector<std::string> names(kDataFields);
  auto set = [&](int n, const char* name, std::string value) {
    f[n - 1] = std::move(value);
    names[n - 1] = name;
  };
  set(1, "time_stamp", d.timeStamp);
  set(2, "application_folder", Flag(d.applicationFolder));
  set(3, "execute_after", d.executeAfter);
  set(4, "logo", pictures.logo);
  set(6, "picture", pictures.picture);
  set(7, "prompt_to_replace", Flag(d.promptToReplace));
  set(8, "execute_before", d.executeBefore);
  set(9, "background", pictures.background);
  set(10, "encryption_length", std::to_string(d.encryptionLength));
  set(11, "center_message", Flag(d.centerMessage));
  return JoinFields(f, kDataSeparator, names);
}

std::string TextRecordText(const SetupDescription& d) {
  std::vector<std::string> f(kTextFields);
  std::vector<std::string> names(kTextFields);
  auto set = [&](int n, const char* name, std::string value) {
    f[n - 1] = std::move(value);
    names[n - 1] = name;
  };
  set(1, "agreement", EncodeChecked(d.agreement, "agreement"));
  set(2, "message", d.message);
  set(3, "link_url", d.linkURL);
  set(4, "link_text", d.linkText);
  set(5, "info", EncodeChecked(d.info, "info"));
  set(6, "labels", LabelsField(d.labels));
  set(7, "target", d.targetFolder);
  set(8, "copyright", d.copyright);
  set(9, "title", d.windowTitle);
  set(13, "installation_patch", Flag(d.installationPatch));
  set(22, "choices", d.installChoices);
  set(23, "options", d.installOptions);
  set(24, "min_os", d.minOS);
  set(25, "min_ram", d.minRAM);
  set(26, "completion_url", d.completionURL);
  set(27, "notes", EncodeChecked(d.preInstallNotes, "notes"));
  set(28, "release_notes", EncodeChecked(d.releaseNotes, "release_notes"));
  set(29, "actions", d.postInstallActions);
  set(30, "cleanup", std::to_string(d.cleanup));
  return JoinFields(f, kTextSeparator, names);
}

}  // namespace ostrel::bundler
