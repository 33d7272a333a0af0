#pragma once

#include <QList>
#include <QStringList>
#include <optional>

namespace Nomly {

// Activity record ids as the user types them; none with `error` set when one
// is not a positive whole number.
std::optional<QList<qint64>> parseRecordIds(const QStringList &arguments, QString *error);

} // namespace Nomly
