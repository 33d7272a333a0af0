#include "content/officefacts.h"

#include <QStringList>
#include <QXmlStreamReader>

#include "naming/dateformats.h"
#include "platform/ziparchive.h"

namespace Nomly {

namespace {

// Property parts are a few kilobytes; anything far larger is not one.
constexpr qint64 MaxPropertyBytes = 1'000'000;

// The text of each element whose qualified name is asked for, first one wins.
QHash<QString, QString> elementTexts(const QByteArray &xml, const QStringList &names)
{
    QHash<QString, QString> found;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString name = reader.qualifiedName().toString();
        if (names.contains(name) && !found.contains(name))
            found.insert(name, reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed());
    }
    return found;
}

// OpenDocument writes its stamps without a zone; the day is what counts.
QString dayOf(const QString &stamp)
{
    auto parsed = DateFormats::parseWide(stamp);
    if (!parsed)
        parsed = DateFormats::parse(stamp.left(10), QStringLiteral("yyyy-MM-dd"));
    return parsed ? DateFormats::format(*parsed, QStringLiteral("yyyy-MM-dd")) : QString();
}

} // namespace

QHash<QString, QString> officeDocumentFields(const QString &path, const QString &extension)
{
    static const QStringList OpenXml { QStringLiteral("docx"), QStringLiteral("docm"), QStringLiteral("dotx"),
                                       QStringLiteral("dotm"), QStringLiteral("xlsx"), QStringLiteral("xlsm"),
                                       QStringLiteral("xltx"), QStringLiteral("xltm"), QStringLiteral("pptx"),
                                       QStringLiteral("pptm"), QStringLiteral("potx"), QStringLiteral("potm"),
                                       QStringLiteral("ppsx"), QStringLiteral("ppsm") };
    static const QStringList OpenDocument { QStringLiteral("odt"), QStringLiteral("ods"), QStringLiteral("odp") };
    QHash<QString, QString> fields;
    const bool openXml = OpenXml.contains(extension);
    if (!openXml && !OpenDocument.contains(extension))
        return fields;
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return fields;
    if (openXml) {
        const auto core
            = elementTexts(archive->read(QStringLiteral("docProps/core.xml"), MaxPropertyBytes).value_or(QByteArray()),
                           { QStringLiteral("dc:creator"), QStringLiteral("dcterms:created") });
        const auto app
            = elementTexts(archive->read(QStringLiteral("docProps/app.xml"), MaxPropertyBytes).value_or(QByteArray()),
                           { QStringLiteral("Application") });
        fields.insert(QStringLiteral("author"), core.value(QStringLiteral("dc:creator")));
        fields.insert(QStringLiteral("document_date"), dayOf(core.value(QStringLiteral("dcterms:created"))));
        fields.insert(QStringLiteral("publisher"), app.value(QStringLiteral("Application")).section(u'/', 0, 0));
    } else {
        const auto meta
            = elementTexts(archive->read(QStringLiteral("meta.xml"), MaxPropertyBytes).value_or(QByteArray()),
                           { QStringLiteral("meta:initial-creator"),
                             QStringLiteral("dc:creator"),
                             QStringLiteral("meta:creation-date"),
                             QStringLiteral("meta:generator") });
        const QString author = meta.value(QStringLiteral("meta:initial-creator"));
        fields.insert(QStringLiteral("author"), author.isEmpty() ? meta.value(QStringLiteral("dc:creator")) : author);
        fields.insert(QStringLiteral("document_date"), dayOf(meta.value(QStringLiteral("meta:creation-date"))));
        // "LibreOffice/7.4.7.2$Linux_X86_64 ..." names its application first.
        fields.insert(QStringLiteral("publisher"), meta.value(QStringLiteral("meta:generator")).section(u'/', 0, 0));
    }
    return fields;
}

} // namespace Nomly
