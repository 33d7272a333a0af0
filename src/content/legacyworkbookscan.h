#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// What the strings of a legacy binary workbook tell, found without parsing
// its format: runs of printable characters, 8-bit and UTF-16, filtered of
// font names, binary noise and the writer's own words, then ordered into
// the likely tab names and the lines that say the most. None when nothing
// readable is left.
std::optional<QString> legacyWorkbookText(const QByteArray &bytes);

} // namespace Nomly
