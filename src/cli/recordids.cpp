#include "cli/recordids.h"

namespace Nomly {

std::optional<QList<qint64>> parseRecordIds(const QStringList &arguments, QString *error)
{
    QList<qint64> ids;
    for (const QString &argument : arguments) {
        bool ok = false;
        const qint64 id = argument.toLongLong(&ok);
        if (!ok || id <= 0) {
            *error = QStringLiteral("'%1' is not a record id; 'nomly history' lists them").arg(argument);
            return std::nullopt;
        }
        ids.append(id);
    }
    return ids;
}

} // namespace Nomly
