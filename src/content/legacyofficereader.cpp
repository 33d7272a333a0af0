#include "content/legacyofficereader.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QStringDecoder>
#include <QStringList>
#include <QtEndian>

#include "content/compoundfile.h"
#include "content/contenttext.h"
#include "content/legacybinarytext.h"
#include "content/legacyworkbookscan.h"

namespace Nomly {

namespace {

// Summaries are a few hundred bytes; the cap guards against a lying size.
constexpr qint64 MaxSummaryBytes = 64 * 1024;
// Only a legacy workbook is read whole; this bounds what "whole" may cost.
constexpr qint64 MaxWorkbookBytes = 64 * 1024 * 1024;

enum SummaryProperty : quint32
{
    CodePage = 1,
    Title = 2,
    Subject = 3,
    Author = 4,
    Keywords = 5,
    PageCount = 14,
};

struct Summary
{
    QString title;
    QString subject;
    QString authors;
    QString keywords;
    qint32 pages = 0;
};

QString decodedString(const QByteArray &bytes, int codePage)
{
    QByteArray raw = bytes;
    while (raw.endsWith('\0'))
        raw.chop(1);
    if (codePage == 65001)
        return QString::fromUtf8(raw);
    const QByteArray name = QByteArray("windows-") + QByteArray::number(codePage);
    QStringDecoder decoder(name.constData());
    return decoder.isValid() ? decoder.decode(raw) : QString::fromLatin1(raw);
}

// The first section of a summary property set: string and count values by
// their identifiers. Every offset is checked against the stream.
Summary parsedSummary(const QByteArray &stream)
{
    Summary summary;
    if (stream.size() < 48 || qFromLittleEndian<quint16>(stream.constData()) != 0xFFFE)
        return summary;
    const auto u32 = [&stream](qsizetype offset) -> std::optional<quint32> {
        if (offset < 0 || offset + 4 > stream.size())
            return std::nullopt;
        return qFromLittleEndian<quint32>(stream.constData() + offset);
    };
    const qsizetype section = u32(44).value_or(0);
    const quint32 count = u32(section + 4).value_or(0);
    QHash<quint32, qsizetype> offsets;
    for (quint32 i = 0; i < count && i < 256; ++i) {
        const auto id = u32(section + 8 + i * 8);
        const auto offset = u32(section + 12 + i * 8);
        if (!id || !offset)
            break;
        offsets.insert(*id, section + static_cast<qsizetype>(*offset));
    }
    const auto integer = [&](quint32 id) -> qint32 {
        const qsizetype at = offsets.value(id, -1);
        const auto type = u32(at);
        const auto value = u32(at + 4);
        if (!type || !value)
            return 0;
        return (*type & 0xFFFF) == 2 ? static_cast<qint16>(*value & 0xFFFF) : static_cast<qint32>(*value);
    };
    const int codePage = integer(CodePage) > 0 ? integer(CodePage) : 1252;
    const auto text = [&](quint32 id) -> QString {
        const qsizetype at = offsets.value(id, -1);
        const auto type = u32(at);
        const auto length = u32(at + 4);
        if (!type || !length || *length > 4096)
            return {};
        if ((*type & 0xFFFF) == 31) { // UTF-16, counted in characters
            if (at + 8 + *length * 2 > stream.size())
                return {};
            return QString::fromUtf16(reinterpret_cast<const char16_t *>(stream.constData() + at + 8), *length)
                .remove(QChar(u'\0'))
                .trimmed();
        }
        if ((*type & 0xFFFF) != 30 || at + 8 + *length > stream.size())
            return {};
        return decodedString(stream.mid(at + 8, *length), codePage).trimmed();
    };
    summary.title = text(Title);
    summary.subject = text(Subject);
    summary.authors = text(Author);
    summary.keywords = text(Keywords);
    summary.pages = integer(PageCount);
    return summary;
}

std::optional<QString> counted(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    const QString normalized = normalizedText(*text);
    return isReadableText(normalized) ? std::optional(normalized) : std::nullopt;
}

std::optional<QByteArray> wholeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaxWorkbookBytes)
        return std::nullopt;
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

} // namespace

std::optional<QString> LegacyOfficeReader::text(const QString &path, const QString &extension)
{
    if (extension != u"doc" && extension != u"ppt" && extension != u"xls")
        return std::nullopt;
    if (const auto container = CompoundFile::open(path)) {
        const std::optional<QString> body = extension == u"doc" ? legacyWordText(*container)
            : extension == u"ppt"                               ? legacyPresentationText(*container)
                                                                : std::nullopt;
        if (const auto text = counted(body))
            return text;
    }
    if (extension == u"xls") {
        if (const auto bytes = wholeFile(path)) {
            if (auto scanned = legacyWorkbookText(*bytes))
                return scanned;
        }
    }
    return summaryText(path);
}

std::optional<QString> LegacyOfficeReader::summaryText(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return std::nullopt;
    Summary summary;
    if (const auto container = CompoundFile::open(path)) {
        if (const auto stream = container->stream(QStringLiteral("\x05SummaryInformation"), MaxSummaryBytes))
            summary = parsedSummary(*stream);
    }
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    const std::pair<const char *, QString> values[] {
        { "Title", summary.title },
        { "Subject", summary.subject },
        { "Kind", type.isDefault() ? QString() : type.comment() },
        { "Content type", type.isDefault() ? QString() : type.name() },
        { "Authors", summary.authors },
        { "Keywords", summary.keywords },
        { "Pages", summary.pages > 0 ? QString::number(summary.pages) : QString() },
        { "File size bytes", QString::number(file.size()) },
    };
    QStringList lines;
    for (const auto &[label, value] : values) {
        if (!value.trimmed().isEmpty())
            lines.append(QString::fromLatin1(label) + QStringLiteral(": ") + value.trimmed());
    }
    return lines.join(u'\n');
}

} // namespace Nomly
