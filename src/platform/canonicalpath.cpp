#include "platform/canonicalpath.h"

#include <QDir>
#include <QFileInfo>

namespace Nomly {

QString canonicalPath(const QString &path)
{
    const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    QString existing = absolute;
    QString rest;
    // "/" always resolves, so the walk up ends.
    for (;;) {
        const QString resolved = QFileInfo(existing).canonicalFilePath();
        if (!resolved.isEmpty())
            return rest.isEmpty() ? resolved : QDir::cleanPath(resolved + u'/' + rest);
        const qsizetype slash = existing.lastIndexOf(u'/');
        if (slash < 0)
            return absolute;
        const QString name = existing.mid(slash + 1);
        rest = rest.isEmpty() ? name : name + u'/' + rest;
        existing = slash == 0 ? QStringLiteral("/") : existing.left(slash);
    }
}

} // namespace Nomly
