#pragma once

#include <QStringList>

namespace Nomly {

// Brings a list of watched folders into the form in which folders are
// compared everywhere else: each entry with its symbolic links resolved, in
// the order given, a folder reached twice (through a link, a trailing slash,
// "..") kept only at its first place, and empty entries left out. Returns
// whether the list changed, so that the caller saves only then.
bool normalizeWatchedFolders(QStringList &folders);

} // namespace Nomly
