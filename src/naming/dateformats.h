#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

namespace Nomly {

// Date patterns in the ICU pattern language, formatted and parsed with the
// fixed locale en_US_POSIX. Formatters are built once per thread and pattern,
// since building one costs far more than using it.
struct DateFormats
{
    // "iso", "dot", "long" and "compact" name fixed patterns; anything else is
    // taken as a pattern itself.
    static QString patternForName(const QString &dateFormat);

    // Formats in the moment's own zone: UTC for parsed dates, local time for
    // the clock. A pattern ICU refuses falls back to "yyyy-MM-dd".
    static QString format(const QDateTime &moment, const QString &pattern);

    // The everyday formats people write dates in, day before month; UTC, not
    // lenient, the whole text must match.
    static std::optional<QDateTime> parseGeneral(QStringView text);

    // ISO 8601 and metadata stamps first, then the general formats.
    static std::optional<QDateTime> parseWide(QStringView text);

    // One pattern, UTC, not lenient, the whole text must match.
    static std::optional<QDateTime> parse(QStringView text, const QString &pattern);
};

} // namespace Nomly
