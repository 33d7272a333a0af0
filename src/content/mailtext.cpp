#include "content/mailtext.h"

#include <QList>
#include <QStringList>
#include <algorithm>

#include "content/contenttext.h"
#include "content/extractionlimits.h"
#include "content/htmltext.h"
#include "naming/mailencoding.h"

namespace Nomly {

namespace {

using MailEncoding::HeaderMap;

struct EmailTextPart
{
    QString mimeType;
    QString text;
};

// Real mail nests a few levels (mixed around alternative around related).
// Each level splits its body again, so a tree nested thousands deep, which
// only a hostile file holds, is not walked below this depth.
constexpr int MaxMultipartDepth = 16;

// A mailbox may hold years of mail. Its first messages tell what it is about,
// and text past the budget would be cut anyway.
constexpr int MaxMailboxMessages = 8;

const QString PlainType = QStringLiteral("text/plain");
const QString HtmlType = QStringLiteral("text/html");

QString withLfLineEnds(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

struct HeadedText
{
    HeaderMap headers;
    QString body;
};

// Headers lie ahead of the first blank line; without one, all is body.
HeadedText splitAtBlankLine(const QString &text)
{
    const QString unified = withLfLineEnds(text);
    const qsizetype blankLine = unified.indexOf(QStringLiteral("\n\n"));
    if (blankLine < 0)
        return { {}, unified };
    return { MailEncoding::parsedHeaders(QStringView(unified).left(blankLine)), unified.mid(blankLine + 2) };
}

// A parameter of a header value such as `text/plain; charset="utf-8"`: the
// first one of that name, trimmed of blanks, then of quotes. A boundary may
// hold "=" itself ("==_part_1=="), so only the first "=" separates.
QString headerParameter(const QString &value, QStringView name)
{
    const QStringList pieces = value.split(u';', Qt::SkipEmptyParts);
    for (qsizetype i = 1; i < pieces.size(); ++i) {
        const qsizetype equals = pieces.at(i).indexOf(u'=');
        if (equals < 0 || pieces.at(i).left(equals).trimmed().toLower() != name)
            continue;
        QString parameter = pieces.at(i).mid(equals + 1).trimmed();
        while (parameter.startsWith(u'"'))
            parameter.remove(0, 1);
        while (parameter.endsWith(u'"'))
            parameter.chop(1);
        return parameter;
    }
    return {};
}

QString contentType(const HeaderMap &headers)
{
    const auto header = headers.constFind(QStringLiteral("content-type"));
    return header == headers.cend() ? PlainType : header->section(u';', 0, 0).trimmed().toLower();
}

// The sections between delimiter lines. The preamble before the first
// delimiter and the epilogue after the closing one go, and so do lines still
// open when the body ends without a closing delimiter.
QStringList multipartSections(const QString &body, const QString &boundary)
{
    const QString delimiter = QStringLiteral("--") + boundary;
    const QString closing = delimiter + QStringLiteral("--");
    QStringList sections;
    // The open section runs from the start of its first line to the end of
    // its last; -1 while it has none.
    qsizetype first = -1;
    qsizetype end = 0;
    bool inside = false;
    for (const QStringView line : QStringView(body).split(u'\n')) {
        const QStringView trimmed = line.trimmed();
        const qsizetype offset = line.data() - body.data();
        if (trimmed == delimiter || trimmed == closing) {
            if (inside && first >= 0)
                sections.append(body.sliced(first, end - first));
            first = -1;
            inside = trimmed == delimiter;
        } else if (inside) {
            if (first < 0)
                first = offset;
            end = offset + line.size();
        }
    }
    return sections;
}

// The body as its transfer encoding and charset give it; a body that does
// not decode stays as it was.
QString decodedBody(const QString &body, const QString &transferEncoding, const QString &charset)
{
    const QString encoding = transferEncoding.trimmed().toLower();
    if (encoding == u"quoted-printable")
        return MailEncoding::decodedInCharset(MailEncoding::quotedPrintableDecoded(body.toUtf8()), charset)
            .value_or(body);
    if (encoding == u"base64") {
        QString compact = body;
        compact.removeIf([](QChar c) { return c.isSpace(); });
        const auto bytes = QByteArray::fromBase64Encoding(
            compact.toUtf8(), QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
        if (!bytes)
            return body;
        return MailEncoding::decodedInCharset(*bytes, charset).value_or(body);
    }
    return body;
}

void readParts(const HeaderMap &headers, const QString &body, int depth, QList<EmailTextPart> &parts)
{
    const QString type = contentType(headers);
    const QString typeHeader = headers.value(QStringLiteral("content-type"));
    if (type.startsWith(u"multipart/")) {
        const QString boundary = headerParameter(typeHeader, u"boundary");
        if (boundary.isEmpty() || depth >= MaxMultipartDepth)
            return;
        for (const QString &section : multipartSections(body, boundary)) {
            const HeadedText part = splitAtBlankLine(section);
            readParts(part.headers, part.body, depth + 1, parts);
        }
        return;
    }
    if (headers.value(QStringLiteral("content-disposition")).contains(u"attachment", Qt::CaseInsensitive))
        return;
    if (type != PlainType && type != HtmlType)
        return;
    QString text = decodedBody(
        body, headers.value(QStringLiteral("content-transfer-encoding")), headerParameter(typeHeader, u"charset"));
    if (type == HtmlType)
        text = htmlText(text);
    text = normalizedText(text);
    if (isReadableText(text))
        parts.append({ type, text });
}

} // namespace

std::optional<QString> mailText(const QString &message)
{
    const HeadedText mail = splitAtBlankLine(message);
    QList<EmailTextPart> parts;
    readParts(mail.headers, mail.body, 0, parts);
    if (parts.isEmpty())
        return std::nullopt;
    const bool hasPlain = std::any_of(
        parts.cbegin(), parts.cend(), [](const EmailTextPart &part) { return part.mimeType == PlainType; });
    QStringList bodies;
    for (const EmailTextPart &part : std::as_const(parts)) {
        if (part.mimeType == (hasPlain ? PlainType : HtmlType))
            bodies.append(part.text);
    }
    QStringList pieces;
    if (const auto subject = mail.headers.constFind(QStringLiteral("subject")); subject != mail.headers.cend())
        pieces.append(MailEncoding::decodedHeaderWords(*subject).trimmed());
    pieces.append(bodies.join(QStringLiteral("\n\n")).trimmed());
    pieces.removeAll(QString());
    return normalizedText(pieces.join(QStringLiteral("\n\n")));
}

std::optional<QString> mailboxText(const QString &mailbox)
{
    const QString text = withLfLineEnds(mailbox);
    const QString separator = QStringLiteral("\nFrom ");
    QStringList messages;
    qsizetype gathered = 0;
    // Each message begins at a line that starts with "From ", which is no
    // header itself; text before the first goes.
    qsizetype start = 0;
    if (!text.startsWith(QStringView(separator).sliced(1))) {
        start = text.indexOf(separator);
        if (start >= 0)
            ++start;
    }
    for (int read = 0; start >= 0 && read < MaxMailboxMessages && gathered < ExtractionLimits::MaxTextCharacters;
         ++read) {
        const qsizetype headers = text.indexOf(u'\n', start);
        if (headers < 0)
            break;
        const qsizetype next = text.indexOf(separator, headers);
        if (const auto message = mailText(text.mid(headers + 1, next < 0 ? -1 : next - headers - 1))) {
            messages.append(*message);
            gathered += message->size();
        }
        start = next < 0 ? -1 : next + 1;
    }
    if (messages.isEmpty())
        return std::nullopt;
    return messages.join(QStringLiteral("\n\n"));
}

} // namespace Nomly
