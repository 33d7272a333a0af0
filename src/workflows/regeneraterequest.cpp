#include "workflows/regeneraterequest.h"

#include <QRegularExpression>

namespace Nomly::RegenerateRequest {

namespace {

// How many of the latest rejected names the prompt quotes.
constexpr qsizetype QuotedNames = 4;

QString asWords(QString name)
{
    name.replace(u'_', u' ').replace(u'-', u' ');
    return name.simplified();
}

} // namespace

QString normalizedName(const QString &name)
{
    const QStringList words = name.trimmed().split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    QString kept;
    for (const QChar character : words.join(u'_')) {
        if (character.isLetterOrNumber() || character == u'-' || character == u'_' || character == u'.')
            kept.append(character);
    }
    while (kept.contains(QStringLiteral("__")))
        kept.replace(QStringLiteral("__"), QStringLiteral("_"));
    const auto trimmable = [](QChar character) { return character == u' ' || character == u'_' || character == u'.'; };
    qsizetype start = 0;
    qsizetype end = kept.size();
    while (start < end && trimmable(kept.at(start)))
        ++start;
    while (end > start && trimmable(kept.at(end - 1)))
        --end;
    return kept.sliced(start, end - start).toLower();
}

QStringList normalizedNames(const QStringList &names)
{
    QStringList normalized;
    for (const QString &name : names) {
        const QString form = normalizedName(name);
        if (!form.isEmpty() && !normalized.contains(form))
            normalized.append(form);
    }
    return normalized;
}

bool isDuplicate(const QString &suggestion, const QStringList &rejected)
{
    const QString form = normalizedName(suggestion);
    if (form.isEmpty())
        return false;
    for (const QString &name : rejected) {
        if (normalizedName(name) == form)
            return true;
    }
    return false;
}

QStringList rejectedTitles(const QStringList &rejected)
{
    QStringList titles;
    for (const QString &name : rejected)
        titles.append(asWords(name));
    return titles;
}

std::optional<QString> renamePrompt(const std::optional<QString> &base, const QStringList &rejected, int maxChars)
{
    const std::optional<QString> own = base ? std::optional(base->trimmed()) : std::nullopt;
    if (rejected.isEmpty())
        return own;
    QStringList quoted;
    for (const QString &name : rejected.mid(std::max<qsizetype>(0, rejected.size() - QuotedNames)))
        quoted.append(u'"' + asWords(name).remove(u'"') + u'"');
    const QString text = QStringLiteral("This is a regenerate request. The user already rejected these filename "
                                        "ideas: %1.\nReturn a meaningfully different title that stays accurate to "
                                        "the file. Do not reuse those ideas or tiny wording variations, and make the "
                                        "new filename clearly distinct.")
                             .arg(quoted.join(QStringLiteral(", ")));
    if (!own || own->isEmpty())
        return text;
    const QString combined = *own + QStringLiteral("\n\n") + text;
    return combined.size() <= maxChars ? combined : *own;
}

} // namespace Nomly::RegenerateRequest
