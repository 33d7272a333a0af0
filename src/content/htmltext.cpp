#include "content/htmltext.h"

#include <QRegularExpression>
#include <array>
#include <optional>

namespace Nomly {

namespace {

// Each script and style element, from its opening tag to its closing one,
// by a blank. Scanned by hand rather than with a lazy regular expression: a
// document with many openings and no closing would make that search the rest
// of the text from every opening. Once a closing is missing behind one
// opening it is missing behind every later one too, so it is given up.
QString withoutScriptsAndStyles(const QString &html)
{
    static const std::array<QString, 2> Names { QStringLiteral("script"), QStringLiteral("style") };
    std::array<bool, 2> closable { true, true };
    QString kept;
    qsizetype copied = 0;
    qsizetype from = 0;
    while (true) {
        const qsizetype open = html.indexOf(u'<', from);
        if (open < 0)
            break;
        from = open + 1;
        const QStringView rest = QStringView(html).sliced(from);
        size_t kind = 0;
        while (kind < Names.size() && !rest.startsWith(Names.at(kind), Qt::CaseInsensitive))
            ++kind;
        if (kind == Names.size() || !closable.at(kind))
            continue;
        const qsizetype tagEnd = html.indexOf(u'>', from + Names.at(kind).size());
        if (tagEnd < 0)
            break;
        const QString closing = QStringLiteral("</") + Names.at(kind) + u'>';
        const qsizetype close = html.indexOf(closing, tagEnd + 1, Qt::CaseInsensitive);
        if (close < 0) {
            closable.at(kind) = false;
            continue;
        }
        kept += QStringView(html).sliced(copied, open - copied);
        kept += u' ';
        copied = from = close + closing.size();
    }
    return kept + QStringView(html).sliced(copied);
}

// Each comment by a blank, scanned for the same reason.
QString withoutComments(const QString &html)
{
    QString kept;
    qsizetype copied = 0;
    while (true) {
        const qsizetype open = html.indexOf(QStringLiteral("<!--"), copied);
        const qsizetype close = open < 0 ? -1 : html.indexOf(QStringLiteral("-->"), open + 4);
        if (close < 0)
            break;
        kept += QStringView(html).sliced(copied, open - copied);
        kept += u' ';
        copied = close + 3;
    }
    return kept + QStringView(html).sliced(copied);
}

// The scalar value a character reference names, when it names one.
std::optional<char32_t> referencedScalar(QStringView number)
{
    bool ok = false;
    const uint value = number.startsWith(u'x') || number.startsWith(u'X') ? number.sliced(1).toUInt(&ok, 16)
                                                                          : number.toUInt(&ok, 10);
    if (!ok || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return std::nullopt;
    return char32_t(value);
}

} // namespace

QString htmlText(const QString &html)
{
    static const QRegularExpression lineEnding(
        QStringLiteral("(?i)<\\s*(br|/p|/div|/tr|/td|/li|/h[1-6]|/table)[^>]*>"));
    static const QRegularExpression tag(QStringLiteral("(?is)<[^>]+>"));
    // No layout engine is asked for the text: with the line-ending tags
    // already turned into line feeds, stripping the rest gives the same.
    QString text = withoutComments(withoutScriptsAndStyles(html));
    text.replace(lineEnding, QStringLiteral("\n"));
    text.replace(tag, QStringLiteral(" "));
    return decodedHtmlEntities(text);
}

QString decodedHtmlEntities(QString text)
{
    text.replace(QStringLiteral("&nbsp;"), QStringLiteral(" "));
    text.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    text.replace(QStringLiteral("&lt;"), QStringLiteral("<"));
    text.replace(QStringLiteral("&gt;"), QStringLiteral(">"));
    text.replace(QStringLiteral("&quot;"), QStringLiteral("\""));
    text.replace(QStringLiteral("&apos;"), QStringLiteral("'"));
    static const QRegularExpression reference(QStringLiteral("&#(x[0-9A-Fa-f]+|\\d+);"));
    QString decoded;
    qsizetype copied = 0;
    for (auto references = reference.globalMatch(text); references.hasNext();) {
        const QRegularExpressionMatch match = references.next();
        const std::optional<char32_t> scalar = referencedScalar(match.capturedView(1));
        if (!scalar)
            continue;
        decoded += QStringView(text).sliced(copied, match.capturedStart() - copied);
        decoded += QString::fromUcs4(&*scalar, 1);
        copied = match.capturedEnd();
    }
    return decoded + QStringView(text).sliced(copied);
}

} // namespace Nomly
