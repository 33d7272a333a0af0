#include "platform/libraryversion.h"

#include <openssl/crypto.h>
#include <zip.h>

namespace Nomly {

QList<LibraryVersion> platformLibraryVersions()
{
    return {
        { QStringLiteral("Qt"), QString::fromLatin1(qVersion()), QStringLiteral("LGPL-3.0-only") },
        { QStringLiteral("QCoro"), QStringLiteral(NOMLY_QCORO_VERSION), QStringLiteral("MIT") },
        { QStringLiteral("OpenSSL"),
          QString::fromLatin1(OpenSSL_version(OPENSSL_VERSION_STRING)),
          QStringLiteral("Apache-2.0") },
        { QStringLiteral("libzip"), QString::fromLatin1(zip_libzip_version()), QStringLiteral("BSD-3-Clause") },
    };
}

} // namespace Nomly
