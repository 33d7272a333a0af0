#include "naming/dateformats.h"

#include <QRegularExpression>
#include <QStringList>
#include <memory>
#include <unordered_map>

#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace Nomly {

namespace {

constexpr const char16_t *GeneralPatterns[] = {
    u"yyyy-MM-dd",  u"yyyy/M/d",    u"yyyy/M/dd",    u"yyyy/MM/d",   u"yyyy/MM/dd",  u"yyyy.M.d",     u"yyyy.M.dd",
    u"yyyy.MM.d",   u"yyyy.MM.dd",  u"d/M/yyyy",     u"dd/M/yyyy",   u"d/MM/yyyy",   u"dd/MM/yyyy",   u"M/d/yyyy",
    u"MM/d/yyyy",   u"M/dd/yyyy",   u"MM/dd/yyyy",   u"d-M-yyyy",    u"dd-M-yyyy",   u"d-MM-yyyy",    u"dd-MM-yyyy",
    u"M-d-yyyy",    u"MM-d-yyyy",   u"M-dd-yyyy",    u"MM-dd-yyyy",  u"d.M.yyyy",    u"dd.M.yyyy",    u"d.MM.yyyy",
    u"dd.MM.yyyy",  u"M.d.yyyy",    u"MM.d.yyyy",    u"M.dd.yyyy",   u"MM.dd.yyyy",  u"d/M/yy",       u"dd/M/yy",
    u"d/MM/yy",     u"dd/MM/yy",    u"d MMM yyyy",   u"dd MMM yyyy", u"d MMMM yyyy", u"dd MMMM yyyy", u"MMM d yyyy",
    u"MMM dd yyyy", u"MMMM d yyyy", u"MMMM dd yyyy",
};

constexpr const char16_t *WidePatterns[] = {
    u"yyyy-MM-dd'T'HH:mm:ss.SSSXXX", // ISO 8601 with fractional seconds
    u"yyyy-MM-dd'T'HH:mm:ssXXX", // ISO 8601
    u"yyyy-MM-dd'T'HH:mm:ssZ",       u"yyyy-MM-dd'T'HH:mm:ss.SSSZ", u"yyyy-MM-dd HH:mm:ss Z",
    u"yyyy:MM:dd HH:mm:ssZ",         u"yyyy:MM:dd HH:mm:ss",
};

icu::UnicodeString toUnicode(QStringView text)
{
    return icu::UnicodeString(reinterpret_cast<const UChar *>(text.utf16()), static_cast<int32_t>(text.size()));
}

QString fromUnicode(const icu::UnicodeString &text)
{
    return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

enum class Zone
{
    Utc,
    Local,
};

// Formatters are not safe to share between threads, so each thread keeps its
// own, keyed by zone and pattern. A pattern ICU refuses is cached as null.
icu::SimpleDateFormat *formatterFor(const QString &pattern, Zone zone)
{
    thread_local std::unordered_map<std::u16string, std::unique_ptr<icu::SimpleDateFormat>> cache;
    std::u16string key = pattern.toStdU16String();
    key.insert(key.begin(), zone == Zone::Utc ? u'U' : u'L');
    auto it = cache.find(key);
    if (it != cache.end())
        return it->second.get();

    UErrorCode status = U_ZERO_ERROR;
    auto formatter = std::make_unique<icu::SimpleDateFormat>(toUnicode(pattern), icu::Locale("en_US_POSIX"), status);
    if (U_SUCCESS(status)) {
        // Some patterns ("J") only fail once they are used.
        icu::UnicodeString probe;
        formatter->format(0.0, probe, nullptr, status);
    }
    if (U_FAILURE(status)) {
        formatter.reset();
    } else {
        if (zone == Zone::Utc)
            formatter->setTimeZone(*icu::TimeZone::getGMT());
        else
            formatter->adoptTimeZone(icu::TimeZone::detectHostTimeZone());
        formatter->setLenient(false);
    }
    return cache.emplace(std::move(key), std::move(formatter)).first->second.get();
}

std::optional<QDateTime> parseWith(const icu::UnicodeString &text, const QString &pattern)
{
    icu::SimpleDateFormat *formatter = formatterFor(pattern, Zone::Utc);
    if (!formatter)
        return std::nullopt;
    icu::ParsePosition position(0);
    const UDate date = formatter->parse(text, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != text.length())
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(date), Qt::UTC);
}

} // namespace

QString DateFormats::patternForName(const QString &dateFormat)
{
    if (dateFormat == u"iso")
        return QStringLiteral("yyyy-MM-dd");
    if (dateFormat == u"dot")
        return QStringLiteral("dd.MM.yyyy");
    if (dateFormat == u"long")
        return QStringLiteral("MMMM d yyyy");
    if (dateFormat == u"compact")
        return QStringLiteral("yyyyMMdd");
    return dateFormat;
}

QString DateFormats::format(const QDateTime &moment, const QString &pattern)
{
    const Zone zone = moment.timeSpec() == Qt::LocalTime ? Zone::Local : Zone::Utc;
    icu::SimpleDateFormat *formatter = formatterFor(pattern.isEmpty() ? QStringLiteral("yyyy-MM-dd") : pattern, zone);
    if (!formatter)
        formatter = formatterFor(QStringLiteral("yyyy-MM-dd"), zone);
    icu::UnicodeString text;
    formatter->format(static_cast<UDate>(moment.toMSecsSinceEpoch()), text);
    return fromUnicode(text);
}

std::optional<QDateTime> DateFormats::parse(QStringView text, const QString &pattern)
{
    return parseWith(toUnicode(text), pattern);
}

std::optional<QDateTime> DateFormats::parseGeneral(QStringView text)
{
    static const QRegularExpression fullYear(QStringLiteral("\\d{4}"));
    QString cleaned = text.toString();
    cleaned.remove(u',');
    const QString joined = cleaned.split(QChar(u' '), Qt::SkipEmptyParts).join(u' ').simplified();
    if (joined.isEmpty())
        return std::nullopt;
    // ICU reads "26" as the year 26 under "yyyy"; a four-digit pattern only
    // applies when the text holds four digits in a row, so that "03/04/26"
    // reaches the two-digit patterns.
    const bool hasFullYear = joined.contains(fullYear);
    const icu::UnicodeString unicode = toUnicode(joined);
    for (const char16_t *pattern : GeneralPatterns) {
        const QString patternText = QString::fromUtf16(pattern);
        if (!hasFullYear && patternText.contains(u"yyyy"))
            continue;
        if (auto date = parseWith(unicode, patternText))
            return date;
    }
    return std::nullopt;
}

std::optional<QDateTime> DateFormats::parseWide(QStringView text)
{
    const QStringView trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    const icu::UnicodeString unicode = toUnicode(trimmed);
    for (const char16_t *pattern : WidePatterns) {
        if (auto date = parseWith(unicode, QString::fromUtf16(pattern)))
            return date;
    }
    return parseGeneral(trimmed);
}

} // namespace Nomly
