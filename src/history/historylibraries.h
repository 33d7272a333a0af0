#pragma once

#include "platform/libraryversion.h"

namespace Nomly {

// SQLite, which keeps the history, and ICU, which formats its dates.
QList<LibraryVersion> historyLibraryVersions();

} // namespace Nomly
