// The builder's reading of the action list: what the installer would answer
// with "Contact Publisher", or cut short without a word, is refused here.
#pragma once

#include <string>

namespace ostrel::bundler {

// Throws BadInput naming the first entry that cannot work as written: a
// path that is no full one after its macro (an unknown macro, a typo), a
// copy of an item that `payloadFolder` does not hold (not checked when it is
// empty), a keyword misspelt into such a copy.
void CheckActionList(const std::string& list, const std::string& payloadFolder);

}  // namespace ostrel::bundler
