// The builder's reading of the action list: what the installer would answer
// with "Contact Publisher", or cut short without a word, is refused here.
#pragma once

#include <string>

namespace ostrel::bundler {

// Throws BadInput naming the first entry that cannot work as written.
void CheckActionList(const std::string& list);

}  // namespace ostrel::bundler
