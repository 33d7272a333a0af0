#include "naming/valuevariants.h"

#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include <unicode/numberformatter.h>

#include "naming/nametext.h"

namespace Nomly {

namespace {

QString withoutForbiddenCharacters(QString text)
{
    QString kept;
    kept.reserve(text.size());
    for (QChar c : std::as_const(text)) {
        if (c.isLetterOrNumber() || c == u'-' || c == u'_' || c == u'.' || c.isMark())
            kept.append(c);
    }
    while (kept.contains(u"__"))
        kept.replace(QStringLiteral("__"), QStringLiteral("_"));
    qsizetype begin = 0;
    qsizetype end = kept.size();
    auto trimmed = [](QChar c) { return c == u' ' || c == u'.' || c == u'_'; };
    while (begin < end && trimmed(kept.at(begin)))
        ++begin;
    while (end > begin && trimmed(kept.at(end - 1)))
        --end;
    return kept.sliced(begin, end - begin);
}

} // namespace

TextVariants TextVariants::from(QStringView raw)
{
    QString normalized = sanitizeName(raw, true);
    if (!normalized.isEmpty())
        normalized = normalizeTitle(normalized);

    QString spaced = normalized.trimmed();
    static const QRegularExpression whitespaceRun(QStringLiteral("\\s+"));
    spaced.replace(whitespaceRun, QStringLiteral("_"));

    TextVariants variants;
    variants.base = withoutForbiddenCharacters(spaced);
    QString joined = variants.base;
    joined.remove(u'_');

    const QString lower = normalized.toLower();
    const QString baseLower = variants.base.toLower();
    variants.values[Normalized] = normalized;
    variants.values[Lower] = lower;
    variants.values[LowerFirstUpper] = withFirstUpper(lower);
    variants.values[BaseLower] = baseLower;
    variants.values[BaseLowerFirstUpper] = withFirstUpper(baseLower);
    variants.values[BaseUpper] = variants.base.toUpper();
    variants.values[Joined] = joined;
    variants.values[JoinedFirstLower] = withFirstLower(joined);
    variants.values[JoinedLower] = joined.toLower();
    variants.values[JoinedUpper] = joined.toUpper();
    variants.values[NormalizedUpper] = normalized.toUpper();
    return variants;
}

QString formatDecimal(double value, int maxFractionDigits)
{
    if (!std::isfinite(value))
        return QString::asprintf("%.1f", value);
    // Ties go to the even digit, as number formatting does everywhere else:
    // 1.25 gives "1.2". One formatter per digit count and thread, as building
    // one costs far more than using it.
    static constexpr int CachedDigits = 6;
    thread_local std::array<std::optional<icu::number::LocalizedNumberFormatter>, CachedDigits + 1> formatters;
    const int digits = std::clamp(maxFractionDigits, 0, CachedDigits);
    auto &formatter = formatters[static_cast<size_t>(digits)];
    if (!formatter) {
        formatter = icu::number::NumberFormatter::withLocale(icu::Locale("en_US_POSIX"))
                        .precision(icu::number::Precision::maxFraction(digits))
                        .roundingMode(UNUM_ROUND_HALFEVEN)
                        .grouping(UNUM_GROUPING_OFF);
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString formatted = formatter->formatDouble(value, status).toString(status);
    if (U_FAILURE(status))
        return QString::number(value, 'f', digits);
    QString text(reinterpret_cast<const QChar *>(formatted.getBuffer()), formatted.length());
    if (text == u"-0")
        text = QStringLiteral("0");
    return text;
}

QString automaticSizeText(std::optional<qint64> bytes)
{
    if (!bytes || *bytes <= 0)
        return {};
    static constexpr const char16_t *Units[] = { u"B", u"KB", u"MB", u"GB", u"TB" };
    double value = static_cast<double>(*bytes);
    int unit = 0;
    while (value >= 1024 && unit < 4) {
        value /= 1024;
        ++unit;
    }
    const QString number = unit > 0 && value < 10 ? QString::number(value, 'f', 1)
                                                  : QString::number(static_cast<qint64>(std::llround(value)));
    return number + QStringView(Units[unit]);
}

QString sizeVariant(QStringView suffix, std::optional<qint64> bytes, const QString &sizeText)
{
    if (!bytes || *bytes <= 0)
        return sanitizeName(sizeText, true);
    const double value = static_cast<double>(*bytes);
    if (suffix == u"bytes")
        return QString::number(*bytes) + u'B';
    if (suffix == u"kb")
        return formatDecimal(value / 1024.0, 1) + u"KB";
    if (suffix == u"mb")
        return formatDecimal(value / 1048576.0, 2) + u"MB";
    return automaticSizeText(bytes);
}

QString durationVariant(QStringView suffix, std::optional<double> seconds, const QString &durationText)
{
    if (!seconds || !std::isfinite(*seconds) || *seconds <= 0)
        return sanitizeName(durationText, true);
    const qint64 rounded = std::llround(*seconds);
    const qint64 hours = rounded / 3600;
    const qint64 minutes = (rounded % 3600) / 60;
    const qint64 secs = rounded % 60;
    auto twoDigits = [](qint64 n) { return QString::number(n).rightJustified(2, u'0'); };

    if (suffix == u"clock")
        return twoDigits(hours) + u'.' + twoDigits(minutes) + u'.' + twoDigits(secs);
    if (suffix == u"minutes")
        return formatDecimal(*seconds / 60.0, 1) + u'm';
    if (suffix == u"seconds")
        return QString::number(rounded) + u's';
    if (hours > 0)
        return QString::number(hours) + u'h' + twoDigits(minutes) + u'm' + twoDigits(secs) + u's';
    if (minutes > 0)
        return QString::number(minutes) + u'm' + twoDigits(secs) + u's';
    return QString::number(secs) + u's';
}

QString resolutionVariant(QStringView suffix, const QString &resolution)
{
    // Whole numbers only, without blanks around them: "1920 x 1080" is text.
    const auto integer = [](QStringView text, bool *ok) {
        const QStringView digits = text.startsWith(u'+') || text.startsWith(u'-') ? text.mid(1) : text;
        *ok = !digits.isEmpty()
            && std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
        return *ok ? text.toLongLong(ok) : 0;
    };
    const QStringList parts = resolution.trimmed().split(u'x');
    bool widthOk = false;
    bool heightOk = false;
    const qint64 width = parts.size() == 2 ? integer(parts.at(0), &widthOk) : 0;
    const qint64 height = parts.size() == 2 ? integer(parts.at(1), &heightOk) : 0;
    if (!widthOk || !heightOk)
        return sanitizeName(resolution, true);
    if (suffix == u"hyphen")
        return QString::number(width) + u'-' + QString::number(height);
    if (suffix == u"height")
        return QString::number(height) + u'p';
    return QString::number(width) + u'x' + QString::number(height);
}

QString frameRateVariant(QStringView suffix, const QString &frameRate)
{
    const QString trimmed = frameRate.trimmed();
    qsizetype length = 0;
    while (length < trimmed.size() && (trimmed.at(length).isDigit() || trimmed.at(length) == u'.'))
        ++length;
    bool ok = false;
    const double value = trimmed.first(length).toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return sanitizeName(frameRate, true);
    if (suffix == u"rounded")
        return QString::number(std::llround(value)) + u"fps";
    if (suffix == u"number")
        return formatDecimal(value, 2);
    return formatDecimal(value, 2) + u"fps";
}

} // namespace Nomly
