// Reading a setup description. Each key has one handler that checks its
// value and fills the description; anything that cannot be understood stops
// the reading with the file's name and the line's number.
#include "bundler/description_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sstream>

#include "bundler/choice_archives.h"
#include "bundler/text_values.h"

namespace ostrel::bundler {
namespace {

struct LongTextKey {
  LongText* text;
  bool fromFile = false;
  std::string fileName;
  std::optional<bool> htmlFormat;  // from "<key>_format"
};

class Parser {
 public:
  Parser(std::string base, std::string name) : base_(std::move(base)), name_(std::move(name)) { DefineKeys(); }

  SetupDescription Parse(const std::string& text) {
    std::istringstream in(StripByteOrderMark(text));
    std::string raw;
    while (std::getline(in, raw)) {
      ++line_;
      ParseLine(raw);
    }
    line_ = 0;
    Finish();
    return d_;
  }

 private:
  using Handler = std::function<void(const std::string& value)>;

  [[noreturn]] void Fail(const std::string& message) const {
    throw DescriptionError(name_ + (line_ > 0 ? ":" + std::to_string(line_) : std::string()) + ": " + message);
  }

  void ParseLine(std::string raw) {
    if (!raw.empty() && raw.back() == '\r') raw.pop_back();
    const std::string line = Trim(raw);
    if (line.empty() || line[0] == '#') return;
    const size_t eq = line.find('=');
    if (eq == std::string::npos) Fail("expected \"key = value\", found \"" + line + "\"");
    const std::string key = Trim(line.substr(0, eq));
    const std::string value = Trim(line.substr(eq + 1));
    if (key.empty()) Fail("a line has a value but no key");

    Handler handler = LabelHandler(key);
    if (!handler) handler = ChoiceHandler(key);
    if (!handler) {
      auto it = handlers_.find(key);
      if (it == handlers_.end()) Fail("unknown key \"" + key + "\"");
      handler = it->second;
    }
    auto [seen, fresh] = seenOn_.emplace(key, line_);
    if (!fresh && key != "action" && key != "resource")
      Fail("\"" + key + "\" is given twice (first on line " + std::to_string(seen->second) + ")");
    handler(value);
  }

  // "labels.N"; no handler for any other key.
  Handler LabelHandler(const std::string& key) {
    const std::string prefix = "labels.";
    if (key.compare(0, prefix.size(), prefix) != 0) return nullptr;
    const std::string index = key.substr(prefix.size());
    int n = -1;
    if (!ParseInteger(index, n) || n < 0 || n > kLastLabelIndex)
      Fail("\"" + key + "\": label numbers run from 0 to " + std::to_string(kLastLabelIndex));
    return [this, n](const std::string& v) {
      std::string label = Text(v);
      if (label.find('|') != std::string::npos) Fail("a custom label cannot hold \"|\", the labels' separator");
      d_.labels[n] = label;
    };
  }

  // "choice.N..." and "option.N..."; no handler for any other key.
  Handler ChoiceHandler(const std::string& key) {
    if (key.rfind("choice.", 0) != 0 && key.rfind("option.", 0) != 0) return nullptr;
    auto endsWith = [&key](const std::string& tail) {
      return key.size() > tail.size() && key.compare(key.size() - tail.size(), tail.size(), tail) == 0;
    };
    const bool path = endsWith(".payload") || endsWith(".sha256_of");
    return [this, key, path](const std::string& v) {
      try {
        // A folder or file is named as "payload" names one, "@" in front or not.
        SetChoiceKey(d_, key, path ? (v.size() > 1 && v[0] == '@' ? Trim(v.substr(1)) : v) : Text(v), base_);
      } catch (const DescriptionError&) {
        throw;
      } catch (const BadInput& e) {
        Fail(e.what());
      }
    };
  }

  std::string Resolve(const std::string& path) const {
    if (path.empty() || path[0] == '/') return path;
    return base_ + "/" + path;
  }

  // A text value: literal with escapes, or "@file" for a file's content.
  std::string Text(const std::string& v, std::string* fileName = nullptr) {
    if (v.size() >= 2 && v[0] == '@' && v[1] == '@') return Unescape(v.substr(1));
    if (v.empty() || v[0] != '@') return Unescape(v);
    const std::string file = Resolve(Trim(v.substr(1)));
    if (fileName) *fileName = file;
    try {
      return ReadTextFile(file);
    } catch (const BadInput& e) {
      Fail(e.what());
    }
  }

  std::string Unescape(const std::string& v) {
    try {
      return UnescapeValue(v);
    } catch (const BadInput& e) {
      Fail(e.what());
    }
  }

  void DefineKeys() {
    auto str = [this](std::string& field) { return [this, &field](const std::string& v) { field = Text(v); }; };
    auto flag = [this](bool& field) {
      return [this, &field](const std::string& v) {
        if (!ParseBoolean(v, field)) Fail("expected yes or no, found \"" + v + "\"");
      };
    };
    auto number = [this](int& field, int low, int high) {
      return [this, &field, low, high](const std::string& v) {
        if (!ParseInteger(v, field) || field < low || field > high)
          Fail("expected a whole number from " + std::to_string(low) + " to " + std::to_string(high) +
               ", found \"" + v + "\"");
      };
    };
    auto picture = [this](PictureSource& field) {
      return [this, &field](const std::string& v) { SetPicture(field, v); };
    };
    auto longText = [this](const char* key, LongText& field) {
      longTexts_[key].text = &field;
      handlers_[key] = [this, key, &field](const std::string& v) {
        LongTextKey& k = longTexts_[key];
        field.content = Text(v, &k.fileName);
        k.fromFile = !k.fileName.empty();
      };
      handlers_[std::string(key) + "_format"] = [this, key](const std::string& v) {
        if (v != "html" && v != "plain") Fail("expected html or plain, found \"" + v + "\"");
        longTexts_[key].htmlFormat = v == "html";
      };
    };

    handlers_ = {
        {"name", str(d_.bundleName)},
        {"executable", str(d_.executableName)},
        {"time_stamp", str(d_.timeStamp)},
        {"application_folder", flag(d_.applicationFolder)},
        {"execute_after", str(d_.executeAfter)},
        {"logo", picture(d_.logo)},
        {"picture", picture(d_.picture)},
        {"prompt_to_replace", flag(d_.promptToReplace)},
        {"execute_before", str(d_.executeBefore)},
        {"background", picture(d_.background)},
        {"encryption_length", number(d_.encryptionLength, 0, 2'000'000'000)},
        {"center_message", flag(d_.centerMessage)},
        {"message", str(d_.message)},
        {"link_url", str(d_.linkURL)},
        {"link_text", str(d_.linkText)},
        {"target", str(d_.targetFolder)},
        {"copyright", str(d_.copyright)},
        {"title", str(d_.windowTitle)},
        {"installation_patch", flag(d_.installationPatch)},
        {"choices", str(d_.installChoices)},
        {"options", str(d_.installOptions)},
        {"min_os", str(d_.minOS)},
        {"min_ram", str(d_.minRAM)},
        {"completion_url", str(d_.completionURL)},
        {"actions", str(d_.postInstallActions)},
        {"action", [this](const std::string& v) { AddAction(v); }},
        {"cleanup", number(d_.cleanup, 0, 4)},
        {"cleanup_program", [this](const std::string& v) { d_.cleanupProgram = Resolve(v); }},
        {"resource", [this](const std::string& v) { d_.resources.push_back(Resolve(v)); }},
        {"payload", [this](const std::string& v) { SetPayloadFolder(v); }},
        {"payload_generate", [this](const std::string& v) { SetGeneratedPayload(v); }},
        {"split_size", [this](const std::string& v) { SetSplitSize(v); }},
        {"split_layout", [this](const std::string& v) { SetSplitLayout(v); }},
    };
    longText("agreement", d_.agreement);
    longText("info", d_.info);
    longText("notes", d_.preInstallNotes);
    longText("release_notes", d_.releaseNotes);
  }

  void SetPicture(PictureSource& field, const std::string& v) {
    if (!v.empty() && v[0] == '@') {
      field.pngPath = Resolve(Trim(v.substr(1)));
      struct stat st;
      if (stat(field.pngPath.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        Fail("no picture file " + field.pngPath);
      return;
    }
    // A pixel text made beforehand: "pixels,width,height".
    std::istringstream parts(v);
    std::string pixels, width, height, extra;
    std::getline(parts, pixels, ',');
    std::getline(parts, width, ',');
    std::getline(parts, height, ',');
    if (std::getline(parts, extra, ',') || !ParseInteger(Trim(width), field.width) ||
        !ParseInteger(Trim(height), field.height))
      Fail("a picture is \"@file.png\" or \"pixels,width,height\"");
    field.pixels = Trim(pixels);
  }

  void AddAction(const std::string& v) {
    const std::string action = Text(v);
    if (action.find('|') != std::string::npos) Fail("an action cannot hold \"|\", the actions' separator");
    if (!d_.postInstallActions.empty()) d_.postInstallActions += '|';
    d_.postInstallActions += action;
  }

  void SetPayloadFolder(const std::string& v) {
    const std::string folder = Resolve(v.size() > 1 && v[0] == '@' ? Trim(v.substr(1)) : v);
    struct stat st;
    if (folder.empty() || stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
      Fail("no payload folder " + (folder.empty() ? std::string("given") : folder));
    d_.payloadFolder = folder;
  }

  void SetGeneratedPayload(const std::string& v) {
    const std::string prefix = "demo:";
    int n = 0;
    if (v.compare(0, prefix.size(), prefix) != 0 || !ParseInteger(v.substr(prefix.size()), n) || n < 10 ||
        n > 100000)
      Fail("expected \"demo:N\" with N from 10 to 100000 files, found \"" + v + "\"");
    d_.generatedPayloadFiles = n;
  }

  // A whole number of bytes, or of KiB, MiB or GiB with "K", "M" or "G".
  void SetSplitSize(const std::string& v) {
    std::string digits = v;
    int64_t unit = 1;
    if (!digits.empty() && (digits.back() == 'K' || digits.back() == 'M' || digits.back() == 'G')) {
      unit = int64_t{1} << (digits.back() == 'K' ? 10 : digits.back() == 'M' ? 20 : 30);
      digits.pop_back();
    }
    int number = 0;
    if (!ParseInteger(digits, number) || number < 1)
      Fail("expected a size such as 650M (a whole number of bytes, or with K, M or G), found \"" + v + "\"");
    d_.splitSize = number * unit;
  }

  void SetSplitLayout(const std::string& v) {
    if (v != "beside" && v != "discs") Fail("expected beside or discs, found \"" + v + "\"");
    d_.splitIntoDiscFolders = v == "discs";
  }

  void Finish() {
    for (auto& [key, k] : longTexts_) {
      k.text->html = k.htmlFormat ? *k.htmlFormat : k.fromFile && IsHtmlFileName(k.fileName);
    }
    for (const char* required : {"name", "target"})
      if (!seenOn_.count(required)) Fail("the key \"" + std::string(required) + "\" is missing");
    if (seenOn_.count("action") && seenOn_.count("actions"))
      Fail("give the action list either as \"actions\" or as \"action\" lines, not both");
    const bool folder = seenOn_.count("payload") > 0, generated = seenOn_.count("payload_generate") > 0;
    if (folder == generated) Fail("give exactly one of \"payload\" and \"payload_generate\"");
    if (seenOn_.count("split_layout") && !seenOn_.count("split_size"))
      Fail("\"split_layout\" needs \"split_size\"");
  }

  std::string base_, name_;
  int line_ = 0;
  SetupDescription d_;
  std::map<std::string, Handler> handlers_;
  std::map<std::string, LongTextKey> longTexts_;
  std::map<std::string, int> seenOn_;
};

}  // namespace

SetupDescription ParseDescription(const std::string& text, const std::string& baseFolder,
                                  const std::string& displayName) {
  return Parser(baseFolder, displayName).Parse(text);
}

SetupDescription ReadDescriptionFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw DescriptionError("cannot read the description " + path + ": " + std::strerror(errno));
  std::ostringstream s;
  s << in.rdbuf();
  const size_t slash = path.rfind('/');
  const std::string base = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  return ParseDescription(s.str(), base, path);
}

}  // namespace ostrel::bundler
