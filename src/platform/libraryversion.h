#pragma once

#include <QList>
#include <QString>

namespace Nomly {

// A library the program runs on, as a bug report and the About page name it.
struct LibraryVersion
{
    QString name;
    // The version of the copy loaded at run time where the library tells it,
    // else the one built against.
    QString version;
    // SPDX expression.
    QString licence;

    bool operator==(const LibraryVersion &) const = default;
};

// Qt, QCoro, OpenSSL and libzip.
QList<LibraryVersion> platformLibraryVersions();

} // namespace Nomly
