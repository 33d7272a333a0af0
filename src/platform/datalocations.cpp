#include "platform/datalocations.h"

#include <QStandardPaths>

namespace Nomly {

namespace {

// The generic locations follow the XDG variables without adding the
// organisation and application names that the per-application ones add.
QString nomlyFolderIn(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::writableLocation(location) + QStringLiteral("/Nomly");
}

} // namespace

QString DataLocations::dataDirectory()
{
    return nomlyFolderIn(QStandardPaths::GenericDataLocation);
}

QString DataLocations::configDirectory()
{
    return nomlyFolderIn(QStandardPaths::GenericConfigLocation);
}

QString DataLocations::cacheDirectory()
{
    return nomlyFolderIn(QStandardPaths::GenericCacheLocation);
}

} // namespace Nomly
