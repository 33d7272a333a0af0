#pragma once

#include <QString>

namespace Nomly {

// The absolute path with symbolic links resolved, the one form in which paths
// are compared across the watcher, the queue, the records and the settings.
// For a path that does not exist (yet, or any more) the nearest existing
// folder above it is resolved and the rest appended as it stands.
QString canonicalPath(const QString &path);

} // namespace Nomly
