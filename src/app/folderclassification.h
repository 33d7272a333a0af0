#pragma once

#include <QString>

namespace Nomly {

// Whether a folder may be watched. Only ordinary folders inside the home
// folder qualify: the file system roots, the home folder itself and its
// hidden configuration and cache folders are refused, because watching them
// would mean following a flood of changes nobody wants renamed.
enum class FolderClassification
{
    Allowed,
    Forbidden,
};

// `path` is judged with its symbolic links resolved, so a link can neither
// smuggle a system folder in nor keep a home folder out. `home` stands in for
// the user's home folder; empty means $HOME.
FolderClassification classifyFolder(const QString &path, const QString &home = {});

// The alert shown when a refused folder is added.
QString forbiddenFolderAlertTitle();
QString forbiddenFolderAlertMessage();

} // namespace Nomly
