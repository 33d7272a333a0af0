#include "content/delimitedsummary.h"

#include <QStringList>
#include <algorithm>

#include "content/extractionlimits.h"

namespace Nomly {

namespace {

// Quotes group a field, a doubled quote inside them stands for one, and the
// separator splits only outside them.
QStringList parsedFields(const QString &line, QChar separator)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (c == u'"') {
            if (quoted && i + 1 < line.size() && line.at(i + 1) == u'"') {
                field.append(u'"');
                ++i;
            } else {
                quoted = !quoted;
            }
        } else if (c == separator && !quoted) {
            fields.append(field.trimmed());
            field.clear();
        } else {
            field.append(c);
        }
    }
    fields.append(field.trimmed());
    return fields;
}

} // namespace

std::optional<QString> delimitedSummary(const QString &text, QChar separator, const QString &extension)
{
    QString unified = text;
    unified.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unified.replace(u'\r', u'\n');
    QStringList lines = unified.split(u'\n');
    // The line feed that ends the last line starts no line of its own.
    if (lines.size() > 1 && lines.last().isEmpty())
        lines.removeLast();
    if (lines.size() == 1 && lines.first().isEmpty())
        lines.clear();
    if (lines.isEmpty())
        return std::nullopt;

    const QStringList sampleLines = lines.size() <= ExtractionLimits::DelimitedSampleLines
        ? lines
        : lines.first(ExtractionLimits::DelimitedSampleLines);
    QList<QStringList> sample;
    for (const QString &line : sampleLines)
        sample.append(parsedFields(line, separator));
    const qsizetype rows
        = std::count_if(lines.cbegin(), lines.cend(), [](const QString &line) { return !line.trimmed().isEmpty(); });
    qsizetype columns = 0;
    for (const QStringList &fields : std::as_const(sample))
        columns = std::max(columns, fields.size());

    QStringList out { extension.toUpper() + QStringLiteral(" file summary"),
                      QStringLiteral("Rows: %1").arg(rows),
                      QStringLiteral("Columns: %1").arg(columns) };
    if (!sample.isEmpty() && !sample.first().isEmpty())
        out.append(QStringLiteral("Headers: ") + sample.first().join(QStringLiteral(", ")));
    if (sample.size() >= 2) {
        out.append(QStringLiteral("Sample rows:"));
        for (qsizetype i = 1; i < sample.size(); ++i)
            out.append(sample.at(i).join(QStringLiteral(" | ")));
    }
    return out.join(u'\n');
}

} // namespace Nomly
