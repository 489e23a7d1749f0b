// The folders whose removal would cost a user their files. The file layer
// asks here before it removes or replaces anything, whoever asked it to, so
// that a careless path in a setup ("UserAccount/", "/", an empty target) can
// never take the user's home or one of their standard folders with it.
//
// Refused: the filesystem root, every mount point, each kept folder (the
// home folder, the standard folders of the desktop, the applications folder)
// and every folder above one of them. What lies inside a kept folder may go.
#pragma once

#include <string>
#include <vector>

namespace fw {

// `kept` lists the folders that are kept with all their ancestors. A path
// that does not exist, or is not absolute, is not protected: there is
// nothing to remove. The last part of the path is not followed when it is a
// symbolic link, so a link can always be removed unless it bears a kept name.
bool IsProtectedFromRemoval(const std::string& path, const std::vector<std::string>& kept);

// The same against the installed platform's kept folders; only the root and
// the mount points when no platform is installed.
bool IsProtectedFromRemoval(const std::string& path);

// A folder that others share: world-writable or sticky, not the user's own,
// a mount point, or one of /tmp, /var/tmp, /opt, /usr/local and /srv. What
// lies inside it may be removed as a setup asks; the folder itself never is,
// since everything else in it belongs to somebody else. A link is not one.
bool IsSharedFolder(const std::string& path);

}  // namespace fw
