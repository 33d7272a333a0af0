#include "history/statstexts.h"

#include <cmath>
#include <memory>

#include <unicode/measfmt.h>
#include <unicode/measunit.h>
#include <unicode/measure.h>
#include <unicode/numberformatter.h>

namespace Nomly::StatsTexts {

namespace {

QString fromUnicode(const icu::UnicodeString &text)
{
    return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

icu::Locale icuLocaleOf(const QLocale &locale)
{
    // The C locale has no words for units; English stands in, as for sorting.
    if (locale.language() == QLocale::C)
        return icu::Locale("en_US");
    return icu::Locale(locale.name().toUtf8().constData());
}

// A measure in the locale's short unit form; the plain number and unit
// where ICU can't say it.
QString shortMeasure(double amount, icu::MeasureUnit *unit, const char *fallbackUnit, const QLocale &locale)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::MeasureFormat format(icuLocaleOf(locale), UMEASFMT_WIDTH_SHORT, status);
    const icu::Measure measure(icu::Formattable(amount), unit, status);
    icu::UnicodeString text;
    icu::FieldPosition position;
    format.formatMeasures(&measure, 1, text, position, status);
    if (U_FAILURE(status))
        return QStringLiteral("%1 %2").arg(locale.toString(amount, 'g', 4), QLatin1StringView(fallbackUnit));
    return fromUnicode(text);
}

double roundedTo(double value, int decimals)
{
    const double scale = decimals == 0 ? 1.0 : 10.0;
    return std::round(value * scale) / scale;
}

} // namespace

QString duration(qint64 seconds, const QLocale &locale)
{
    UErrorCode status = U_ZERO_ERROR;
    if (seconds < 60)
        return shortMeasure(double(seconds), icu::MeasureUnit::createSecond(status), "sec", locale);
    if (seconds < 3600) {
        const double minutes = double(seconds) / 60.0;
        return shortMeasure(
            roundedTo(minutes, minutes >= 10 ? 0 : 1), icu::MeasureUnit::createMinute(status), "min", locale);
    }
    const double hours = double(seconds) / 3600.0;
    if (hours < 100)
        return shortMeasure(roundedTo(hours, hours >= 10 ? 0 : 1), icu::MeasureUnit::createHour(status), "hr", locale);
    return shortMeasure(std::floor(hours / 24.0), icu::MeasureUnit::createDay(status), "days", locale);
}

QString monthDelta(qint64 delta, const QLocale &locale)
{
    if (delta == 0)
        return {};
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString compact = icu::number::NumberFormatter::withLocale(icuLocaleOf(locale))
                                           .notation(icu::number::Notation::compactShort())
                                           .formatInt(std::llabs(delta), status)
                                           .toString(status);
    const QString amount = U_FAILURE(status) ? locale.toString(std::llabs(delta)) : fromUnicode(compact);
    return delta > 0 ? QStringLiteral("↑ +%1 this month").arg(amount) : QStringLiteral("↓ -%1 this month").arg(amount);
}

QString days(qint64 count)
{
    return count == 1 ? QStringLiteral("1 day") : QStringLiteral("%1 days").arg(count);
}

int monitorSharePercent(qint64 monitorCount, qint64 totalRenamed)
{
    if (totalRenamed < 1)
        return 0;
    return int(std::lround(double(monitorCount) * 100.0 / double(totalRenamed)));
}

} // namespace Nomly::StatsTexts
