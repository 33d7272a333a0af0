#include "content/legacybinarytext.h"

#include <QSet>
#include <QStringDecoder>
#include <QStringList>
#include <QtEndian>

#include "content/compoundfile.h"
#include "content/contenttext.h"
#include "content/extractionlimits.h"

namespace Nomly {

namespace {

// Text streams of real documents are small; these bound a hostile one.
constexpr qint64 MaxStreamBytes = 16 * 1024 * 1024;
// Field instructions and marks are dropped after gathering, so gather more
// than is kept.
constexpr qsizetype GatheredCharacters = 2 * ExtractionLimits::MaxTextCharacters;

constexpr quint16 WordIdentifier = 0xA5EC;
constexpr quint16 EncryptedFlag = 0x0100;
constexpr quint16 SecondTableFlag = 0x0200;
constexpr int ClxPairIndex = 33;

struct Reader
{
    const QByteArray &bytes;

    std::optional<quint32> u32(qsizetype offset) const
    {
        if (offset < 0 || offset + 4 > bytes.size())
            return std::nullopt;
        return qFromLittleEndian<quint32>(bytes.constData() + offset);
    }

    std::optional<quint16> u16(qsizetype offset) const
    {
        if (offset < 0 || offset + 2 > bytes.size())
            return std::nullopt;
        return qFromLittleEndian<quint16>(bytes.constData() + offset);
    }
};

// Word's own marks: paragraph and cell ends become breaks, field codes keep
// only their shown result, and the other control characters go.
QString cleanedWordText(const QString &raw)
{
    QString text;
    int fieldDepth = 0;
    QList<bool> showing;
    for (const QChar c : raw) {
        switch (c.unicode()) {
        case 0x13:
            ++fieldDepth;
            showing.append(false);
            continue;
        case 0x14:
            if (!showing.isEmpty())
                showing.last() = true;
            continue;
        case 0x15:
            if (fieldDepth > 0) {
                --fieldDepth;
                showing.removeLast();
            }
            continue;
        default:
            break;
        }
        if (!showing.isEmpty() && !showing.last())
            continue;
        switch (c.unicode()) {
        case u'\r':
        case 0x07:
        case 0x0B:
        case 0x0C:
            text.append(u'\n');
            break;
        case 0x1E:
            text.append(u'-');
            break;
        case 0xA0:
            text.append(u' ');
            break;
        default:
            if (c.unicode() >= 0x20 || c == u'\t')
                text.append(c);
            break;
        }
    }
    return text;
}

} // namespace

std::optional<QString> legacyWordText(const CompoundFile &file)
{
    const auto document = file.stream(QStringLiteral("WordDocument"), MaxStreamBytes);
    if (!document)
        return std::nullopt;
    const Reader fib { *document };
    const auto flags = fib.u16(0x0A);
    if (fib.u16(0) != WordIdentifier || !flags || (*flags & EncryptedFlag))
        return std::nullopt;
    // The header's arrays are counted, so a later version with longer ones
    // still leads to the piece table.
    const qsizetype wordsAt = 0x22;
    const qsizetype longsCountAt = wordsAt + 2 * fib.u16(0x20).value_or(0);
    const qsizetype longsAt = longsCountAt + 2;
    const qsizetype pairsCountAt = longsAt + 4 * fib.u16(longsCountAt).value_or(0);
    const auto mainCharacters = fib.u32(longsAt + 12);
    const auto pairs = fib.u16(pairsCountAt);
    if (!mainCharacters || !pairs || *pairs <= ClxPairIndex)
        return std::nullopt;
    const auto clxAt = fib.u32(pairsCountAt + 2 + ClxPairIndex * 8);
    const auto clxSize = fib.u32(pairsCountAt + 2 + ClxPairIndex * 8 + 4);
    if (!clxAt || !clxSize || *clxSize == 0)
        return std::nullopt;

    const QString tableName = (*flags & SecondTableFlag) ? QStringLiteral("1Table") : QStringLiteral("0Table");
    const auto tableBytes = file.stream(tableName, std::min<qint64>(MaxStreamBytes, qint64(*clxAt) + *clxSize));
    if (!tableBytes)
        return std::nullopt;
    const Reader table { *tableBytes };
    qsizetype at = *clxAt;
    // Formatting runs come first; the piece table follows them.
    while (at < tableBytes->size() && tableBytes->at(at) == 0x01)
        at += 3 + static_cast<qint16>(table.u16(at + 1).value_or(0));
    if (at >= tableBytes->size() || tableBytes->at(at) != 0x02)
        return std::nullopt;
    const auto pieceTableSize = table.u32(at + 1);
    if (!pieceTableSize || *pieceTableSize < 16)
        return std::nullopt;
    const qsizetype pieces = (*pieceTableSize - 4) / 12;
    const qsizetype positionsAt = at + 5;
    const qsizetype descriptorsAt = positionsAt + 4 * (pieces + 1);

    static const QStringDecoder::Encoding Utf16 = QStringDecoder::Utf16LE;
    QString raw;
    for (qsizetype i = 0; i < pieces && raw.size() < GatheredCharacters; ++i) {
        const auto start = table.u32(positionsAt + 4 * i);
        const auto end = table.u32(positionsAt + 4 * (i + 1));
        const auto position = table.u32(descriptorsAt + 8 * i + 2);
        if (!start || !end || !position)
            return std::nullopt;
        if (*start >= *mainCharacters)
            break;
        const qint64 count = qint64(std::min(*end, *mainCharacters)) - *start;
        if (count <= 0)
            continue;
        const bool compressed = *position & 0x40000000;
        const qint64 offset = compressed ? (*position & 0x3FFFFFFF) / 2 : (*position & 0x3FFFFFFF);
        const qint64 bytes = compressed ? count : 2 * count;
        if (offset + bytes > document->size())
            continue;
        const QByteArray piece = document->mid(offset, bytes);
        if (compressed)
            raw += QStringDecoder("windows-1252").decode(piece);
        else
            raw += QStringDecoder(Utf16).decode(piece);
    }
    const QString text = cleanedWordText(raw);
    if (text.trimmed().isEmpty())
        return std::nullopt;
    return text;
}

std::optional<QString> legacyPresentationText(const CompoundFile &file)
{
    const auto stream = file.stream(QStringLiteral("PowerPoint Document"), MaxStreamBytes);
    if (!stream)
        return std::nullopt;
    constexpr quint16 TextCharsAtom = 0x0FA0;
    constexpr quint16 TextBytesAtom = 0x0FA8;
    // Masters hold placeholder prompts, not the author's words.
    const QSet<quint16> skipped { 0x03F8 /* main master */, 0x03F0 /* notes */, 0x0FC9 /* handout */ };
    const Reader reader { *stream };
    QStringList texts;
    QSet<QString> seen;
    qsizetype gathered = 0;
    qsizetype at = 0;
    while (at + 8 <= stream->size() && gathered < GatheredCharacters) {
        const quint16 version = *reader.u16(at);
        const quint16 type = *reader.u16(at + 2);
        const quint32 length = *reader.u32(at + 4);
        const bool container = (version & 0x000F) == 0x000F;
        if (container && !skipped.contains(type)) {
            at += 8;
            continue;
        }
        if (qint64(at) + 8 + length > stream->size())
            break;
        if (type == TextCharsAtom || type == TextBytesAtom) {
            const QByteArray bytes = stream->mid(at + 8, length);
            const QString text
                = normalizedText(type == TextCharsAtom ? QStringDecoder(QStringDecoder::Utf16LE).decode(bytes)
                                                       : QString::fromLatin1(bytes));
            const QString key = foldedForComparison(text);
            if (!text.isEmpty() && !seen.contains(key)) {
                seen.insert(key);
                texts.append(text);
                gathered += text.size();
            }
        }
        at += 8 + length;
    }
    if (texts.isEmpty())
        return std::nullopt;
    return texts.join(u'\n');
}

} // namespace Nomly
