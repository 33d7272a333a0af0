#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <utility>

namespace Nomly::Test {

// A ZIP file holding the entries given, in that order.
bool writeZip(const QString &path, const QList<std::pair<QString, QByteArray>> &entries);

} // namespace Nomly::Test
