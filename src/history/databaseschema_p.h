#pragma once

#include <QString>

#include "platform/result.h"

struct sqlite3;

namespace Nomly {

// Brings any earlier layout of the file up to the current one. There is no
// version number: which columns a table has and the IF NOT EXISTS forms are
// the state, so a run on a current file changes and logs nothing. Call inside
// one write transaction.
Result<> upgradeSchema(sqlite3 *connection);

// Appends the statistics event of one activity row, with the lower-cased
// extension of `newPath` (empty for a dot file or a name without one).
Result<> appendRenameEvent(sqlite3 *connection,
                           qint64 processedFileId,
                           const QString &processedAt,
                           const QString &source,
                           const QString &newPath);

} // namespace Nomly
