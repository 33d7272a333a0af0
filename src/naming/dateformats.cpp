#include "naming/dateformats.h"

#include <QStringList>
#include <algorithm>
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

// A formatter with the last moment it wrote: a folder rendered at one moment
// formats that moment once per file.
struct CachedFormatter
{
    std::unique_ptr<icu::SimpleDateFormat> formatter;
    std::optional<qint64> lastMsecs;
    QString lastText;

    QString format(qint64 msecs)
    {
        if (lastMsecs != msecs) {
            icu::UnicodeString text;
            formatter->format(static_cast<UDate>(msecs), text);
            lastText = fromUnicode(text);
            lastMsecs = msecs;
        }
        return lastText;
    }
};

// Formatters are not safe to share between threads, so each thread keeps its
// own, keyed by zone and pattern. A pattern ICU refuses is cached as null.
CachedFormatter *formatterFor(const QString &pattern, Zone zone)
{
    thread_local std::unordered_map<std::u16string, CachedFormatter> cache;
    std::u16string key = pattern.toStdU16String();
    key.insert(key.begin(), zone == Zone::Utc ? u'U' : u'L');
    auto it = cache.find(key);
    if (it != cache.end())
        return it->second.formatter ? &it->second : nullptr;

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
    CachedFormatter &entry
        = cache.emplace(std::move(key), CachedFormatter { std::move(formatter), {}, {} }).first->second;
    return entry.formatter ? &entry : nullptr;
}

std::optional<QDateTime> parseWith(const icu::UnicodeString &text, const QString &pattern)
{
    CachedFormatter *cached = formatterFor(pattern, Zone::Utc);
    if (!cached)
        return std::nullopt;
    icu::ParsePosition position(0);
    const UDate date = cached->formatter->parse(text, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != text.length())
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(date), Qt::UTC);
}

// The outline of a day written as text: where its year stands and how many
// digits it has, its separator, and whether the month is a word.
struct DateShape
{
    bool yearFirst = false;
    qsizetype yearDigits = 0;
    QChar separator;
    bool monthName = false;

    bool operator==(const DateShape &) const = default;

    static DateShape ofPattern(QStringView pattern)
    {
        DateShape shape;
        shape.yearFirst = pattern.startsWith(u'y');
        shape.yearDigits = pattern.count(u'y');
        shape.separator = *std::find_if_not(pattern.begin(), pattern.end(), [](QChar c) { return c.isLetter(); });
        shape.monthName = pattern.contains(u"MMM");
        return shape;
    }

    static DateShape ofText(QStringView text)
    {
        const auto isDigit = [](QChar c) { return c.isDigit(); };
        DateShape shape;
        const auto leading = std::find_if_not(text.begin(), text.end(), isDigit) - text.begin();
        const auto trailing = std::find_if_not(text.rbegin(), text.rend(), isDigit) - text.rbegin();
        shape.yearFirst = leading > 2;
        shape.yearDigits = shape.yearFirst ? leading : trailing;
        const auto separator = std::find_if_not(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
        shape.separator = separator == text.end() ? QChar() : *separator;
        shape.monthName = std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetter(); });
        return shape;
    }
};

struct GeneralCandidate
{
    QString pattern;
    DateShape shape;
};

const QList<GeneralCandidate> &generalCandidates()
{
    static const QList<GeneralCandidate> candidates = [] {
        QList<GeneralCandidate> list;
        for (const char16_t *pattern : GeneralPatterns)
            list.append({ QString::fromUtf16(pattern), DateShape::ofPattern(pattern) });
        return list;
    }();
    return candidates;
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
    CachedFormatter *cached = formatterFor(pattern.isEmpty() ? QStringLiteral("yyyy-MM-dd") : pattern, zone);
    if (!cached)
        cached = formatterFor(QStringLiteral("yyyy-MM-dd"), zone);
    return cached->format(moment.toMSecsSinceEpoch());
}

std::optional<QDateTime> DateFormats::parse(QStringView text, const QString &pattern)
{
    return parseWith(toUnicode(text), pattern);
}

std::optional<QDateTime> DateFormats::parseGeneral(QStringView text)
{
    QString cleaned = text.toString();
    cleaned.remove(u',');
    const QString joined = cleaned.split(QChar(u' '), Qt::SkipEmptyParts).join(u' ').simplified();
    if (joined.isEmpty())
        return std::nullopt;

    // A strict parse only succeeds on a text of the pattern's shape, so the
    // patterns of another shape are passed over without asking ICU, which is
    // what makes a folder of dates cheap to render. The year digits count too:
    // under "yyyy" ICU would read "26" as the year 26, and "03/04/26" must
    // reach the two-digit patterns.
    const DateShape shape = DateShape::ofText(joined);
    const icu::UnicodeString unicode = toUnicode(joined);
    for (const GeneralCandidate &candidate : generalCandidates()) {
        if (candidate.shape != shape)
            continue;
        if (auto date = parseWith(unicode, candidate.pattern))
            return date;
    }
    return std::nullopt;
}

std::optional<QDateTime> DateFormats::parseWide(QStringView text)
{
    const QStringView trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    // Every wide pattern carries a time, so a text without ":" goes straight
    // to the day patterns.
    if (trimmed.contains(u':')) {
        const icu::UnicodeString unicode = toUnicode(trimmed);
        for (const char16_t *pattern : WidePatterns) {
            if (auto date = parseWith(unicode, QString::fromUtf16(pattern)))
                return date;
        }
    }
    return parseGeneral(trimmed);
}

} // namespace Nomly
