// Adding read, write and execute for everyone to one item without ever
// following a symbolic link, shared by the permission operations and the
// tree walks.
#pragma once

namespace ViewConst::detail {

// The item `name` in the open folder `dirfd` (or AT_FDCWD) gains rwx for
// user, group and others; its other mode bits stay. A link keeps its own
// mode and its target is left alone. Answers whether the mode was set.
bool AddFullAccessAt(int dirfd, const char* name);

}  // namespace ViewConst::detail
