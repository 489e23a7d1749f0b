// Everything that makes one setup bundle: the fields of the setup record by
// readable names, the pictures, the payload and the bundle's own names.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace ostrel::bundler {

// A publisher's mistake in what was asked for: a bad value, a missing file, a
// text that the record cannot hold. The command reports it and exits with 2.
struct BadInput : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One of the long texts (agreement, info, pre-install notes, release notes).
struct LongText {
  std::string content;  // UTF-8, line breaks as "\n"
  bool html = false;    // written as hexadecimal UTF-16 and shown as HTML
};

// A picture, either a PNG file or a pixel text already made.
struct PictureSource {
  std::string pngPath;  // when not empty, the picture is read from it
  std::string pixels;   // else this pixel text (runs allowed), width and height
  int width = 0, height = 0;

  bool Empty() const { return pngPath.empty() && pixels.empty(); }
};

// One choice or option given by numbered keys ("choice.N", "option.N.url").
// The builder packs `payloadFolder` as a plain zip into Contents/Resources,
// or, for an option, leaves `url` for the installer to download.
struct ChoiceEntry {
  std::string caption;
  std::string payloadFolder;
  std::string url;
  std::string folder;  // below the target; empty: the target itself
  std::string help;
  std::string sha256;  // a URL option's pin, when known
  // A URL option's content: packed beside the bundle as the archive to put
  // at the URL, and pinned.
  std::string uploadFolder;
};

struct SetupDescription {
  // --- The bundle: "<bundleName>.app/Contents/MacOS/<executableName>".
  std::string bundleName;
  std::string executableName;  // empty: the bundle's name

  // --- The enciphered record.
  std::string timeStamp;
  bool applicationFolder = false;
  std::string executeAfter;
  PictureSource logo;
  PictureSource picture;
  bool promptToReplace = false;
  std::string executeBefore;
  PictureSource background;
  int encryptionLength = 0;
  bool centerMessage = false;

  // --- The text record.
  LongText agreement;
  std::string message;
  std::string linkURL;   // opened when the link is clicked
  std::string linkText;  // what the link shows
  LongText info;
  std::map<int, std::string> labels;  // custom labels by index; absent ones keep the default
  std::string targetFolder;           // name of the installed folder, and of the archive's top entry
  std::string copyright;
  std::string windowTitle;
  bool installationPatch = false;
  std::string installChoices;  // as the record holds it; or from choiceEntries
  std::string installOptions;
  std::vector<ChoiceEntry> choiceEntries;
  std::vector<ChoiceEntry> optionEntries;
  std::string minOS;
  std::string minRAM;
  std::string completionURL;
  LongText preInstallNotes;
  LongText releaseNotes;
  std::string postInstallActions;
  int cleanup = 0;

  // --- Files and folders copied into Contents/Resources under their own
  // names: the programs run before and after installing, scripts.
  std::vector<std::string> resources;
  // The clean-up program packed as Data3 whenever `cleanup` is not 0;
  // empty: "ostrel-cleanup" beside the stub executable.
  std::string cleanupProgram;

  // --- The payload: the content of this folder becomes the installed folder.
  std::string payloadFolder;
  // When above 0, a demo tree of this many files is generated into
  // "<output folder>/payload/<target>" and used as the payload.
  int generatedPayloadFiles = 0;

  // --- A setup split over discs: when above 0, the scrambled archive is cut
  // into pieces of this many bytes, Data#1 in the bundle and Data#2 ...
  // Data#End beside it, or each in a folder of its own per disc.
  int64_t splitSize = 0;
  bool splitIntoDiscFolders = false;
};

// The highest custom label index the installer reads.
constexpr int kLastLabelIndex = 26;

// The choice and option dialogs have ten rows each.
constexpr int kMaxChoiceEntries = 10;

}  // namespace ostrel::bundler
