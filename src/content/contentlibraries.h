#pragma once

#include "platform/libraryversion.h"

namespace Nomly {

// The readers' libraries: documents, pictures, sound and video, text
// recognition, speech and language.
QList<LibraryVersion> contentLibraryVersions();

} // namespace Nomly
