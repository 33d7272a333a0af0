#include "app/watchedfoldernormalization.h"

#include <QSet>
#include <utility>

#include "platform/canonicalpath.h"

namespace Nomly {

bool normalizeWatchedFolders(QStringList &folders)
{
    QStringList normalized;
    QSet<QString> seen;
    normalized.reserve(folders.size());
    for (const QString &folder : std::as_const(folders)) {
        // An empty entry would otherwise resolve to the working folder.
        if (folder.isEmpty())
            continue;
        const QString resolved = canonicalPath(folder);
        if (seen.contains(resolved))
            continue;
        seen.insert(resolved);
        normalized.append(resolved);
    }
    if (normalized == folders)
        return false;
    folders = std::move(normalized);
    return true;
}

} // namespace Nomly
