#pragma once

#include <QString>

#include "platform/result.h"

namespace Nomly {

// Writes `folder` into a new ZIP file at `archivePath`: the folder itself is
// the top entry and everything below it follows, stored without compression.
// Symbolic links are left out, so that nothing outside the folder is taken.
// On failure no archive is left behind.
Result<> zipFolderStored(const QString &folder, const QString &archivePath);

} // namespace Nomly
