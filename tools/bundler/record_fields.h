// The two record files as texts: the enciphered record's 12 fields and the
// text record's 30, each checked to read back field for field.
#pragma once

#include <string>
#include <vector>

#include "bundler/setup_description.h"

namespace ostrel::bundler {

// The pixel fields ("pixels,width,height" or empty) of logo, main picture and background.
struct PictureFields {
  std::string logo, picture, background;
};

// A long text as the installer reads it back: line breaks become "|", or,
// for HTML and for a text that holds "|" itself, "$HTML$" and the text's
// UTF-16 little-endian bytes in upper-case hexadecimal.
std::string EncodeLongText(const LongText& text);

// The clear text of Data (before enciphering) and the text of TextData.
// Throw BadInput naming the field when a value cannot be stored.
std::string DataRecordText(const SetupDescription& d, const PictureFields& pictures);
std::string TextRecordText(const SetupDescription& d);

// Joins the fields and makes sure that splitting the result at the first
// separator each time gives them back; `names` says what each field holds.
std::string JoinFields(const std::vector<std::string>& fields, const std::string& separator,
                       const std::vector<std::string>& names);

}  // namespace ostrel::bundler
