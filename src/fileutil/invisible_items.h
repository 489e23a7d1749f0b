// The items that SetInvisible hid in this run. Their names come out of their
// folder's ".hidden" list again when DeleteFolderOrApp removes them, so that
// no stale name hides a later item of the same name.
#pragma once

#include <string>

namespace ViewConst::detail {

void RememberInvisible(const std::string& path);
// Takes the name of a removed item out of its folder's list, if this run put it there.
void ReleaseInvisible(const std::string& path);

}  // namespace ViewConst::detail
