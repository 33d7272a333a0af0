#include "naming/mailencoding.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <QStringList>
#include <algorithm>

namespace Nomly::MailEncoding {

namespace {

std::optional<QString> strictlyDecoded(QStringDecoder decoder, QByteArrayView bytes)
{
    if (!decoder.isValid())
        return std::nullopt;
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::optional<QString> utf16Decoded(QByteArrayView bytes)
{
    // Without a byte-order mark UTF-16 is big-endian by definition.
    if (bytes.startsWith("\xFF\xFE"))
        return strictlyDecoded(QStringDecoder(QStringDecoder::Utf16LE, QStringDecoder::Flag::Stateless),
                               bytes.sliced(2));
    if (bytes.startsWith("\xFE\xFF"))
        bytes = bytes.sliced(2);
    return strictlyDecoded(QStringDecoder(QStringDecoder::Utf16BE, QStringDecoder::Flag::Stateless), bytes);
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::optional<QString> decodedWord(const QRegularExpressionMatch &word)
{
    const QByteArray encoded = word.captured(3).toUtf8();
    QByteArray bytes;
    if (word.capturedView(2).compare(u"b", Qt::CaseInsensitive) == 0) {
        const auto decoded = QByteArray::fromBase64Encoding(
            encoded, QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return std::nullopt;
        bytes = *decoded;
    } else {
        // In a header word "_" stands for a blank, so that the word holds none.
        bytes = quotedPrintableDecoded(QByteArray(encoded).replace('_', ' '));
    }
    return decodedInCharset(bytes, word.capturedView(1));
}

} // namespace

HeaderMap parsedHeaders(QStringView block)
{
    QStringList lines;
    for (const QStringView line : block.split(u'\n')) {
        if ((line.startsWith(u' ') || line.startsWith(u'\t')) && !lines.isEmpty())
            lines.last() += u' ' + line.trimmed().toString();
        else
            lines.append(line.toString());
    }
    HeaderMap headers;
    for (const QString &line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(u':');
        if (colon < 0)
            continue;
        const QString name = line.left(colon).trimmed().toLower();
        if (!name.isEmpty())
            headers.insert(name, line.mid(colon + 1).trimmed());
    }
    return headers;
}

QString decodedHeaderWords(const QString &text)
{
    static const QRegularExpression word(QStringLiteral("=\\?([^?]+)\\?([bBqQ])\\?([^?]+)\\?="));
    // Words never overlap, so replacing them in one pass from the front
    // gives what replacing them in place from the back would.
    QString decoded;
    qsizetype copied = 0;
    for (auto words = word.globalMatch(text); words.hasNext();) {
        const QRegularExpressionMatch match = words.next();
        decoded += QStringView(text).sliced(copied, match.capturedStart() - copied);
        decoded += decodedWord(match).value_or(match.captured());
        copied = match.capturedEnd();
    }
    decoded += QStringView(text).sliced(copied);
    return decoded;
}

QByteArray quotedPrintableDecoded(QByteArrayView bytes)
{
    QByteArray decoded;
    decoded.reserve(bytes.size());
    const qsizetype size = bytes.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char c = bytes.at(i);
        if (c == '=' && i + 1 < size && bytes.at(i + 1) == '\n') {
            i += 1;
        } else if (c == '=' && i + 2 < size && bytes.at(i + 1) == '\r' && bytes.at(i + 2) == '\n') {
            i += 2;
        } else if (c == '=' && i + 2 < size && hexValue(bytes.at(i + 1)) >= 0 && hexValue(bytes.at(i + 2)) >= 0) {
            decoded.append(char(hexValue(bytes.at(i + 1)) * 16 + hexValue(bytes.at(i + 2))));
            i += 2;
        } else {
            decoded.append(c);
        }
    }
    return decoded;
}

std::optional<QString> decodedInCharset(const QByteArray &bytes, QStringView charset)
{
    const QString name = charset.trimmed().toString().toLower();
    if (name == u"us-ascii" || name == u"ascii") {
        const bool ascii = std::all_of(bytes.cbegin(), bytes.cend(), [](char c) { return uchar(c) < 0x80; });
        return ascii ? std::optional(QString::fromLatin1(bytes)) : std::nullopt;
    }
    if (name == u"iso-8859-1" || name == u"latin1" || name == u"latin-1")
        return QString::fromLatin1(bytes);
    if (name == u"windows-1252" || name == u"cp1252")
        return strictlyDecoded(QStringDecoder("windows-1252", QStringDecoder::Flag::Stateless), bytes);
    if (name == u"utf-16" || name == u"utf16")
        return utf16Decoded(bytes);
    return strictlyDecoded(QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless), bytes);
}

} // namespace Nomly::MailEncoding
