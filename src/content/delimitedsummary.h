#pragma once

#include <QChar>
#include <QString>
#include <optional>

namespace Nomly {

// A CSV or TSV file described instead of quoted: its row and column counts,
// its header and a few sample rows, under a heading of the upper-cased
// extension. None for a text without lines.
std::optional<QString> delimitedSummary(const QString &text, QChar separator, const QString &extension);

} // namespace Nomly
