#pragma once

#include "platform/libraryversion.h"

namespace Nomly {

// Every library the program runs on, as About and `nomly diagnose` list them.
QList<LibraryVersion> libraryVersions();

} // namespace Nomly
