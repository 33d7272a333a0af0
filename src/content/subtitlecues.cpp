#include "content/subtitlecues.h"

#include <QRegularExpression>
#include <QStringList>

#include "content/contenttext.h"

namespace Nomly {

QString cleanedSubtitleCues(const QString &text)
{
    static const QRegularExpression tag(QStringLiteral("<[^>]+>"));
    static const QRegularExpression timing(
        QStringLiteral("^\\d{1,2}:\\d{2}:\\d{2}[\\.,]\\d{1,3}\\s+-->\\s+\\d{1,2}:\\d{2}:\\d{2}[\\.,]\\d{1,3}"));
    static const QRegularExpression number(QStringLiteral("^[+-]?\\d+$"));

    QString unified = text;
    unified.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unified.replace(u'\r', u'\n');
    QStringList kept;
    for (QString line : unified.split(u'\n')) {
        line = line.remove(tag).trimmed();
        if (line.isEmpty() || line.toUpper() == u"WEBVTT" || number.match(line).hasMatch()
            || timing.match(line).hasMatch() || line.startsWith(u"NOTE ") || line.startsWith(u"STYLE")
            || line.startsWith(u"REGION"))
            continue;
        kept.append(line);
    }
    return normalizedText(kept.join(u'\n'));
}

} // namespace Nomly
