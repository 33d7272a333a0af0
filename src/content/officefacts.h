#pragma once

#include <QHash>
#include <QString>

namespace Nomly {

// The document properties an Office Open XML or OpenDocument file keeps in
// its ZIP container: `author`, `publisher` (the application that made it)
// and `document_date` (when it was created, "yyyy-MM-dd"). Only the small
// property parts are read, each within a byte limit. Empty for other files.
QHash<QString, QString> officeDocumentFields(const QString &path, const QString &extension);

} // namespace Nomly
