#include "history/historylibraries.h"

#include <sqlite3.h>
#include <unicode/uversion.h>

namespace Nomly {

QList<LibraryVersion> historyLibraryVersions()
{
    UVersionInfo icu;
    u_getVersion(icu);
    char icuText[U_MAX_VERSION_STRING_LENGTH] = {};
    u_versionToString(icu, icuText);
    return {
        { QStringLiteral("SQLite"), QString::fromLatin1(sqlite3_libversion()), QStringLiteral("blessing") },
        { QStringLiteral("ICU"), QString::fromLatin1(icuText), QStringLiteral("Unicode-DFS-2016") },
    };
}

} // namespace Nomly
