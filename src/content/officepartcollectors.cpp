#include "content/officepartcollectors.h"

#include <QXmlStreamReader>

#include "content/contenttext.h"
#include "content/xmltextcollector.h"

namespace Nomly {

namespace {

// Attribute values arrive decoded once; writers that escape twice leave
// entities behind, which are decoded again.
QString withEntitiesDecoded(QString value)
{
    value.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    value.replace(QStringLiteral("&lt;"), QStringLiteral("<"));
    value.replace(QStringLiteral("&gt;"), QStringLiteral(">"));
    value.replace(QStringLiteral("&quot;"), QStringLiteral("\""));
    value.replace(QStringLiteral("&apos;"), QStringLiteral("'"));
    return value;
}

enum class Lookup
{
    ExactFirst,
    PrefixedFirst,
};

// The attribute named `name`, either exactly or as the part after a prefix
// ("r:id"); writers differ in which they use, and a part may carry both.
QString attributeNamed(const QXmlStreamReader &reader, QStringView name, Lookup order)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    const auto find = [&attributes, name](bool prefixed) -> std::optional<QString> {
        for (const QXmlStreamAttribute &attribute : attributes) {
            const QStringView qualified = attribute.qualifiedName();
            const qsizetype colon = qualified.lastIndexOf(u':');
            const bool matches = prefixed ? colon >= 0 && qualified.mid(colon + 1) == name : qualified == name;
            if (matches)
                return attribute.value().toString();
        }
        return std::nullopt;
    };
    const bool prefixedFirst = order == Lookup::PrefixedFirst;
    return find(prefixedFirst).value_or(find(!prefixedFirst).value_or(QString()));
}

QString firstOf(const QXmlStreamReader &reader, QStringView name, QStringView alternative)
{
    const QString value = attributeNamed(reader, name, Lookup::ExactFirst);
    return value.isEmpty() ? attributeNamed(reader, alternative, Lookup::ExactFirst) : value;
}

} // namespace

void SharedStringCollector::parse(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    bool insideItem = false;
    bool capturingText = false;
    QString currentItem;
    QString currentText;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const QString name = localNameOf(reader);
            if (name == u"si" && !insideItem && items.size() < maxItems) {
                insideItem = true;
                currentItem.clear();
            } else if (name == u"t" && insideItem) {
                capturingText = true;
                currentText.clear();
            }
        } else if (token == QXmlStreamReader::Characters && capturingText) {
            currentText += reader.text();
        } else if (token == QXmlStreamReader::EndElement) {
            const QString name = localNameOf(reader);
            if (name == u"t" && capturingText) {
                currentItem += currentText;
                capturingText = false;
            } else if (name == u"si" && insideItem) {
                items.append(normalizedText(currentItem));
                insideItem = false;
                if (items.size() >= maxItems)
                    return;
            }
        }
    }
}

void WorkbookSheetCollector::parse(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || localNameOf(reader) != u"sheet")
            continue;
        const QString name = attributeNamed(reader, u"name", Lookup::ExactFirst);
        const QString id = attributeNamed(reader, u"id", Lookup::PrefixedFirst);
        if (!name.isEmpty() && !id.isEmpty())
            sheets.append({ withEntitiesDecoded(name), withEntitiesDecoded(id) });
    }
}

void RelationshipCollector::parse(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || localNameOf(reader) != u"Relationship")
            continue;
        const QString id = firstOf(reader, u"Id", u"id");
        const QString target = firstOf(reader, u"Target", u"target");
        if (!id.isEmpty() && !target.isEmpty())
            relationships.insert(id, target);
    }
}

void PPTXSlideOrderCollector::parse(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || localNameOf(reader) != u"sldId")
            continue;
        if (const QString id = attributeNamed(reader, u"id", Lookup::PrefixedFirst); !id.isEmpty())
            relationshipIds.append(id);
    }
}

void WorksheetRowCollector::parse(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    bool insideRow = false;
    bool insideCell = false;
    bool capturingCellText = false;
    QStringList currentRow;
    QString currentCellType;
    QString currentCellText;
    QString currentText;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const QString name = localNameOf(reader);
            if (name == u"row" && rows.size() < maxRows) {
                insideRow = true;
                currentRow.clear();
            } else if (name == u"c" && insideRow) {
                insideCell = true;
                currentCellType = reader.attributes().value(QStringLiteral("t")).toString();
                currentCellText.clear();
            } else if (insideCell && (name == u"v" || (name == u"t" && currentCellType == u"inlineStr"))) {
                capturingCellText = true;
                currentText.clear();
            }
        } else if (token == QXmlStreamReader::Characters && capturingCellText) {
            currentText += reader.text();
        } else if (token == QXmlStreamReader::EndElement) {
            const QString name = localNameOf(reader);
            if ((name == u"v" || name == u"t") && capturingCellText) {
                currentCellText += currentText;
                capturingCellText = false;
            } else if (name == u"c" && insideCell) {
                if (const auto value = cellValue(currentCellText, currentCellType))
                    currentRow.append(*value);
                insideCell = false;
            } else if (name == u"row" && insideRow) {
                if (!currentRow.isEmpty())
                    rows.append(currentRow);
                insideRow = false;
                if (rows.size() >= maxRows)
                    return;
            }
        }
    }
}

std::optional<QString> WorksheetRowCollector::cellValue(const QString &cellText, const QString &cellType) const
{
    const QString text = normalizedText(cellText);
    if (text.isEmpty())
        return std::nullopt;
    if (cellType != u"s")
        return text;
    bool ok = false;
    const qlonglong index = text.toLongLong(&ok);
    if (!ok || index < 0 || index >= sharedStrings.size())
        return text;
    return sharedStrings.at(static_cast<qsizetype>(index));
}

QString resolvedPartTarget(const QString &target, const QString &base)
{
    QString path = target.section(u'#', 0, 0);
    if (path.startsWith(u'/'))
        return path.mid(1);
    if (path.startsWith(base + u'/'))
        return path;
    QStringList parts = base.split(u'/', Qt::SkipEmptyParts);
    for (const QString &part : path.split(u'/')) {
        if (part.isEmpty() || part == u".")
            continue;
        if (part == u"..") {
            if (!parts.isEmpty())
                parts.removeLast();
        } else {
            parts.append(part);
        }
    }
    return parts.join(u'/');
}

} // namespace Nomly
