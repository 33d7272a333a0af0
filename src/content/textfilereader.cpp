#include "content/textfilereader.h"

#include <QFile>
#include <QStringDecoder>
#include <algorithm>
#include <optional>

#include "content/contenttext.h"
#include "content/extractionlimits.h"

namespace Nomly {

namespace {

// A complete text must not end inside a sequence, which a stateless decoder
// reports; a text cut by the read bound may, and its tail is held back.
QStringDecoder::Flags flagsFor(bool complete)
{
    return complete ? QStringDecoder::Flag::Stateless : QStringDecoder::Flag::Default;
}

std::optional<QString> decodedWith(QStringDecoder decoder, const QByteArray &bytes)
{
    if (!decoder.isValid())
        return std::nullopt;
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

// The byte order of UTF-16 text, or none when the bytes don't look like it.
// Without a byte-order mark, UTF-16 is taken only when many zero bytes sit on
// one side, as Latin text in UTF-16 has, and that side tells the order.
// Almost any bytes decode as UTF-16, so the test keeps 8-bit text from
// turning into noise.
std::optional<QStringDecoder::Encoding> utf16ByteOrder(const QByteArray &bytes)
{
    if (bytes.startsWith("\xFF\xFE"))
        return QStringDecoder::Utf16LE;
    if (bytes.startsWith("\xFE\xFF"))
        return QStringDecoder::Utf16BE;
    qsizetype zeros[2] = { 0, 0 };
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes.at(i) == '\0')
            ++zeros[i % 2];
    }
    const qsizetype half = bytes.size() / 2;
    if (half == 0 || std::max(zeros[0], zeros[1]) * 4 < half)
        return std::nullopt;
    // The high byte of a Latin character is the zero one.
    return zeros[0] > zeros[1] ? QStringDecoder::Utf16BE : QStringDecoder::Utf16LE;
}

// C1 control codes are almost never meant: such bytes are the quotes and
// dashes of Windows-1252.
bool hasWindowsPunctuation(const QByteArray &bytes)
{
    return std::any_of(bytes.cbegin(), bytes.cend(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x80 && byte <= 0x9F;
    });
}

// The decodings of the ladder that take the bytes whole, in order, each
// offered to `accept` until it takes one.
template<typename Accept> void offerDecodings(const QByteArray &bytes, bool complete, Accept accept)
{
    const std::optional<QStringDecoder::Encoding> utf16Order = utf16ByteOrder(bytes);
    if (auto utf8 = decodedWith(QStringDecoder(QStringDecoder::Utf8, flagsFor(complete)), bytes)) {
        // Latin text in UTF-16 is valid UTF-8 as well, with a NUL beside
        // every letter; no text means those.
        if (!utf16Order || !utf8->contains(QChar(u'\0'))) {
            if (utf8->startsWith(QChar(0xFEFF)))
                utf8->remove(0, 1);
            if (accept(*utf8))
                return;
        }
    }
    if (utf16Order) {
        if (auto utf16 = decodedWith(QStringDecoder(*utf16Order, flagsFor(complete)), bytes)) {
            if (utf16->startsWith(QChar(0xFEFF)))
                utf16->remove(0, 1);
            if (accept(*utf16))
                return;
        }
    }
    if (hasWindowsPunctuation(bytes)) {
        if (auto windows = decodedWith(QStringDecoder("windows-1252", flagsFor(complete)), bytes)) {
            if (accept(*windows))
                return;
        }
    }
    // Latin 1 decodes any bytes, so it ends the ladder.
    if (auto latin1 = decodedWith(QStringDecoder(QStringDecoder::Latin1, flagsFor(complete)), bytes))
        accept(*latin1);
}

// The bytes of a file up to the text-file bound; `complete` says whether the
// file ends there.
struct BoundedRead
{
    QByteArray bytes;
    bool complete = false;
};

std::optional<BoundedRead> readBounded(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    BoundedRead read { file.read(ExtractionLimits::MaxTextFileBytes) };
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    read.complete = file.atEnd();
    return read;
}

} // namespace

std::optional<QString> decodeText(const QByteArray &bytes, bool complete)
{
    std::optional<QString> text;
    offerDecodings(bytes, complete, [&text](QString &decoded) {
        text = std::move(decoded);
        return true;
    });
    return text;
}

std::optional<QString> readTextFile(const QString &path)
{
    const std::optional<BoundedRead> read = readBounded(path);
    return read ? decodeText(read->bytes, read->complete) : std::nullopt;
}

std::optional<QString> readTextFileThrough(const QString &path, std::optional<QString> (*reader)(const QString &))
{
    const std::optional<BoundedRead> read = readBounded(path);
    if (!read)
        return std::nullopt;
    std::optional<QString> text;
    offerDecodings(read->bytes, read->complete, [&text, reader](const QString &decoded) {
        text = reader(decoded);
        return text && nonWhitespaceCount(*text) >= ExtractionLimits::MinReadableCharacters;
    });
    if (text && nonWhitespaceCount(*text) >= ExtractionLimits::MinReadableCharacters)
        return text;
    return decodeText(read->bytes, read->complete);
}

} // namespace Nomly
