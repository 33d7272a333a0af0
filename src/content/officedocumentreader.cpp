#include "content/officedocumentreader.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <algorithm>

#include "content/contenttext.h"
#include "content/officepartcollectors.h"
#include "content/xmltextcollector.h"
#include "platform/ziparchive.h"

namespace Nomly {

namespace {

// Far more than the text kept, far less than a hostile entry inflates to.
constexpr qint64 MaxEntryBytes = 512'000;
constexpr qint64 MaxPropertyBytes = 64'000;
constexpr int SheetsSummarised = 2;
constexpr int BodyRowsShown = 4;
constexpr int SlidesRead = 12;

std::optional<QByteArray> entry(const ZipArchive &archive, const QString &name)
{
    return archive.readPrefix(name, MaxEntryBytes);
}

std::optional<QString> joinedLines(const QStringList &lines)
{
    if (lines.isEmpty())
        return std::nullopt;
    return lines.join(u'\n');
}

// The properties the writer filed, as "Title: …" lines in a fixed order.
// Found by pattern rather than by a parse: the part is tiny, and a writer's
// odd namespaces must not cost the title.
QStringList propertyLines(const ZipArchive &archive)
{
    static constexpr std::pair<const char16_t *, const char16_t *> Properties[] {
        { u"title", u"Title" },
        { u"subject", u"Subject" },
        { u"creator", u"Creator" },
        { u"keywords", u"Keywords" },
        { u"description", u"Description" },
        { u"category", u"Category" },
        { u"contentStatus", u"Content status" },
    };
    QStringList lines;
    const auto bytes = archive.readPrefix(QStringLiteral("docProps/core.xml"), MaxPropertyBytes);
    if (!bytes)
        return lines;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString xml = decoder.decode(*bytes);
    if (decoder.hasError())
        return lines;
    thread_local const QRegularExpression tag(QStringLiteral("<[^>]+>"));
    thread_local const QList<QRegularExpression> patterns = [] {
        QList<QRegularExpression> compiled;
        for (const auto &[element, label] : Properties) {
            compiled.append(
                QRegularExpression(QStringLiteral("<(?:[A-Za-z0-9_\\-]+:)?%1\\b[^>]*>(.*?)</(?:[A-Za-z0-9_\\-]+:)?%1>")
                                       .arg(QString::fromUtf16(element)),
                                   QRegularExpression::DotMatchesEverythingOption));
        }
        return compiled;
    }();
    for (qsizetype i = 0; i < patterns.size(); ++i) {
        const QRegularExpression &pattern = patterns.at(i);
        const char16_t *label = Properties[i].second;
        const QRegularExpressionMatch match = pattern.match(xml);
        if (!match.hasMatch())
            continue;
        QString value = match.captured(1).remove(tag);
        value.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
        value.replace(QStringLiteral("&lt;"), QStringLiteral("<"));
        value.replace(QStringLiteral("&gt;"), QStringLiteral(">"));
        value.replace(QStringLiteral("&quot;"), QStringLiteral("\""));
        value.replace(QStringLiteral("&apos;"), QStringLiteral("'"));
        value = normalizedText(value);
        if (!value.isEmpty())
            lines.append(QString::fromUtf16(label) + QStringLiteral(": ") + value);
    }
    return lines;
}

// Entries under `prefix` ending in `.xml`, in the order of the number the
// pattern captures ("slide10" after "slide2"), 0 when there is none.
QStringList numberedEntries(const ZipArchive &archive, const QString &prefix, const QRegularExpression &number)
{
    QList<std::pair<qlonglong, QString>> numbered;
    for (const QString &name : archive.entryNames()) {
        if (!name.startsWith(prefix) || !name.endsWith(QStringLiteral(".xml")))
            continue;
        const QRegularExpressionMatch match = number.match(name);
        numbered.append({ match.hasMatch() ? match.captured(1).toLongLong() : 0, name });
    }
    std::stable_sort(
        numbered.begin(), numbered.end(), [](const auto &left, const auto &right) { return left.first < right.first; });
    QStringList names;
    for (const auto &[order, name] : numbered)
        names.append(name);
    return names;
}

void appendRowLines(QStringList &lines, const QList<QStringList> &rows)
{
    if (rows.isEmpty())
        return;
    if (!rows.first().isEmpty())
        lines.append(QStringLiteral("Headers: ") + rows.first().join(QStringLiteral(", ")));
    for (qsizetype i = 1; i < rows.size() && i <= BodyRowsShown; ++i)
        lines.append(rows.at(i).join(QStringLiteral(" | ")));
}

QList<QStringList> sheetRows(const QByteArray &xml, const QStringList &sharedStrings)
{
    WorksheetRowCollector collector;
    collector.sharedStrings = sharedStrings;
    collector.parse(xml);
    return collector.rows;
}

// The slides in show order: the presentation's list of slide ids, each led
// through the relationships to its part, or the parts by number where that
// chain is missing or leads nowhere.
QStringList slideOrder(const ZipArchive &archive)
{
    static const QRegularExpression slideNumber(QStringLiteral("slide(\\d+)\\.xml"));
    const QStringList listed = numberedEntries(archive, QStringLiteral("ppt/slides/slide"), slideNumber);
    const auto presentation = entry(archive, QStringLiteral("ppt/presentation.xml"));
    const auto relationshipsPart = entry(archive, QStringLiteral("ppt/_rels/presentation.xml.rels"));
    if (!presentation || !relationshipsPart)
        return listed;
    PPTXSlideOrderCollector order;
    order.parse(*presentation);
    RelationshipCollector relationships;
    relationships.parse(*relationshipsPart);
    QStringList ordered;
    for (const QString &id : std::as_const(order.relationshipIds)) {
        const auto target = relationships.relationships.constFind(id);
        if (target == relationships.relationships.cend())
            continue;
        const QString part = resolvedPartTarget(*target, QStringLiteral("ppt"));
        if (listed.contains(part))
            ordered.append(part);
    }
    return ordered.isEmpty() ? listed : withoutFoldedDuplicates(ordered);
}

} // namespace

std::optional<QString> OfficeDocumentReader::openDocumentText(const QString &path)
{
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    const auto content = entry(*archive, QStringLiteral("content.xml"));
    if (!content)
        return std::nullopt;
    QStringList chunks = XMLTextCollector::collect(*content, { QStringLiteral("h"), QStringLiteral("p") });
    if (chunks.isEmpty())
        chunks = XMLTextCollector::collect(*content, { QStringLiteral("span") });
    const QString text = normalizedText(chunks.join(u'\n'));
    return isReadableText(text) ? std::optional(text) : std::nullopt;
}

std::optional<QString> OfficeDocumentReader::wordText(const QString &path)
{
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    QStringList lines = propertyLines(*archive);
    if (const auto body = entry(*archive, QStringLiteral("word/document.xml"))) {
        const QStringList chunks = XMLTextCollector::collect(*body, { QStringLiteral("t") });
        if (!chunks.isEmpty())
            lines.append(chunks.join(u'\n'));
    }
    return joinedLines(lines);
}

std::optional<QString> OfficeDocumentReader::excelText(const QString &path)
{
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    SharedStringCollector sharedStrings;
    if (const auto table = entry(*archive, QStringLiteral("xl/sharedStrings.xml")))
        sharedStrings.parse(*table);
    const auto workbook = entry(*archive, QStringLiteral("xl/workbook.xml"));
    const auto relationshipsPart = entry(*archive, QStringLiteral("xl/_rels/workbook.xml.rels"));

    QStringList lines;
    if (workbook && relationshipsPart) {
        WorkbookSheetCollector sheets;
        sheets.parse(*workbook);
        RelationshipCollector relationships;
        relationships.parse(*relationshipsPart);
        if (sheets.sheets.isEmpty())
            return std::nullopt;
        lines = propertyLines(*archive);
        for (qsizetype i = 0; i < sheets.sheets.size() && i < SheetsSummarised; ++i) {
            const auto &[name, id] = sheets.sheets.at(i);
            const QString target = relationships.relationships.value(id, QStringLiteral("worksheets/sheet1.xml"));
            const auto sheet = entry(*archive, resolvedPartTarget(target, QStringLiteral("xl")));
            lines.append(QStringLiteral("Sheet: ") + name);
            if (sheet)
                appendRowLines(lines, sheetRows(*sheet, sharedStrings.items));
        }
        return joinedLines(lines);
    }

    static const QRegularExpression sheetNumber(QStringLiteral("sheet(\\d+)\\.xml"));
    const QStringList entries = numberedEntries(*archive, QStringLiteral("xl/worksheets/"), sheetNumber);
    if (entries.isEmpty())
        return std::nullopt;
    lines = propertyLines(*archive);
    for (qsizetype i = 0; i < entries.size() && i < SheetsSummarised; ++i) {
        const auto sheet = entry(*archive, entries.at(i));
        const QList<QStringList> rows = sheet ? sheetRows(*sheet, sharedStrings.items) : QList<QStringList>();
        if (rows.isEmpty())
            continue;
        lines.append(QStringLiteral("Sheet: Sheet%1").arg(i + 1));
        appendRowLines(lines, rows);
    }
    return joinedLines(lines);
}

std::optional<QString> OfficeDocumentReader::powerPointText(const QString &path)
{
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    QStringList lines = propertyLines(*archive);
    const QStringList slides = slideOrder(*archive);
    for (const int index : evenlySpacedIndices(static_cast<int>(slides.size()), SlidesRead)) {
        const auto slide = entry(*archive, slides.at(index));
        if (!slide)
            continue;
        const QStringList chunks = XMLTextCollector::collect(*slide, { QStringLiteral("t") });
        if (!chunks.isEmpty())
            lines.append(QStringLiteral("Slide %1: ").arg(index + 1) + chunks.join(u' '));
    }
    return joinedLines(lines);
}

} // namespace Nomly
