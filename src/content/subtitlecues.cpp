#include "content/subtitlecues.h"

#include <QRegularExpression>
#include <QStringList>

#include "content/contenttext.h"

namespace Nomly {

namespace {

QString withLfLineEnds(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

// Where the text field of a dialogue line begins: behind the comma that ends
// the field before it, since the text alone may hold commas.
qsizetype textFieldStart(QStringView fields, int fieldCount)
{
    qsizetype start = 0;
    for (int field = 1; field < fieldCount; ++field) {
        const qsizetype comma = fields.indexOf(u',', start);
        if (comma < 0)
            return -1;
        start = comma + 1;
    }
    return start;
}

} // namespace

QString cleanedSubtitleCues(const QString &text)
{
    static const QRegularExpression tag(QStringLiteral("<[^>]+>"));
    static const QRegularExpression timing(
        QStringLiteral("^\\d{1,2}:\\d{2}:\\d{2}[\\.,]\\d{1,3}\\s+-->\\s+\\d{1,2}:\\d{2}:\\d{2}[\\.,]\\d{1,3}"));
    static const QRegularExpression number(QStringLiteral("^[+-]?\\d+$"));

    QStringList kept;
    for (QString line : withLfLineEnds(text).split(u'\n')) {
        line = line.remove(tag).trimmed();
        if (line.isEmpty() || line.toUpper() == u"WEBVTT" || number.match(line).hasMatch()
            || timing.match(line).hasMatch() || line.startsWith(u"NOTE ") || line.startsWith(u"STYLE")
            || line.startsWith(u"REGION"))
            continue;
        kept.append(line);
    }
    return normalizedText(kept.join(u'\n'));
}

QString styledSubtitleText(const QString &text)
{
    static const QRegularExpression overrideBlock(QStringLiteral("\\{[^}]*\\}"));
    constexpr int UsualFieldCount = 10;
    int fieldCount = UsualFieldCount;
    bool inEvents = false;
    QStringList kept;
    for (const QStringView line : withLfLineEnds(text).split(u'\n')) {
        const QStringView trimmed = line.trimmed();
        if (trimmed.startsWith(u'[')) {
            inEvents = trimmed.compare(u"[Events]", Qt::CaseInsensitive) == 0;
        } else if (inEvents && trimmed.startsWith(u"Format:", Qt::CaseInsensitive)) {
            fieldCount = int(trimmed.count(u',')) + 1;
        } else if (trimmed.startsWith(u"Dialogue:", Qt::CaseInsensitive)) {
            const QStringView fields = trimmed.sliced(9);
            const qsizetype start = textFieldStart(fields, fieldCount);
            if (start < 0)
                continue;
            QString spoken = fields.sliced(start).toString();
            spoken.remove(overrideBlock);
            spoken.replace(QStringLiteral("\\N"), QStringLiteral("\n"));
            spoken.replace(QStringLiteral("\\n"), QStringLiteral("\n"));
            spoken.replace(QStringLiteral("\\h"), QStringLiteral(" "));
            kept.append(spoken);
        }
    }
    return normalizedText(kept.join(u'\n'));
}

} // namespace Nomly
