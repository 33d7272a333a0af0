#include "app/libraryversions.h"

#include "ai/keychainsecretstore.h"
#include "content/contentlibraries.h"
#include "history/historylibraries.h"

namespace Nomly {

QList<LibraryVersion> libraryVersions()
{
    QList<LibraryVersion> libraries = platformLibraryVersions();
    libraries += historyLibraryVersions();
    libraries += contentLibraryVersions();
    libraries.append(KeychainSecretStore::library());
    return libraries;
}

} // namespace Nomly
