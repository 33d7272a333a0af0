#include "content/epubtext.h"

#include <QDir>
#include <QHash>
#include <QStringList>
#include <QUrl>
#include <QXmlStreamReader>
#include <algorithm>

#include "content/contenttext.h"
#include "content/htmltext.h"
#include "content/textfilereader.h"
#include "platform/ziparchive.h"

namespace Nomly {

namespace {

// The bounds of the Office readers, which read the same kind of container:
// bytes read from one entry, and characters gathered before reading stops.
constexpr qint64 MaxEntryBytes = 512'000;
constexpr qsizetype MaxCharacters = 12'000;
// A spine of many tiny documents would otherwise have every one opened.
constexpr qsizetype MaxChapters = 40;

// The package document's path inside the archive: the first rootfile.
QString rootfilePath(const QByteArray &container)
{
    QXmlStreamReader reader(container);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"rootfile")
            return reader.attributes().value(QLatin1StringView("full-path")).toString();
    }
    return {};
}

// The archive paths of the spine's documents, in reading order. Manifest
// addresses are relative to the package document and percent-encoded.
QStringList spineDocuments(const QByteArray &package, const QString &packageFolder)
{
    QHash<QString, QString> manifest;
    QStringList spine;
    QXmlStreamReader reader(package);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == u"item")
            manifest.insert(attributes.value(QLatin1StringView("id")).toString(),
                            attributes.value(QLatin1StringView("href")).toString());
        else if (reader.name() == u"itemref")
            spine.append(attributes.value(QLatin1StringView("idref")).toString());
    }
    QStringList documents;
    for (const QString &id : std::as_const(spine)) {
        const QString address = manifest.value(id).section(u'#', 0, 0);
        if (address.isEmpty())
            continue;
        const QString relative = QUrl::fromPercentEncoding(address.toUtf8());
        documents.append(QDir::cleanPath(packageFolder.isEmpty() ? relative : packageFolder + u'/' + relative));
    }
    return documents;
}

// A chapter's head holds its title, the same in every chapter; the text
// begins with its body.
QString bodyOf(const QString &xhtml)
{
    const qsizetype body = xhtml.indexOf(QStringLiteral("<body"), 0, Qt::CaseInsensitive);
    return body < 0 ? xhtml : xhtml.mid(body);
}

} // namespace

std::optional<QString> epubText(const QString &path)
{
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    const auto container = archive->readPrefix(QStringLiteral("META-INF/container.xml"), MaxEntryBytes);
    const QString packagePath = container ? rootfilePath(*container) : QString();
    const auto package = packagePath.isEmpty() ? std::nullopt : archive->readPrefix(packagePath, MaxEntryBytes);
    if (!package)
        return std::nullopt;
    QStringList chapters;
    qsizetype gathered = 0;
    const QStringList documents
        = spineDocuments(*package, packagePath.left(std::max<qsizetype>(packagePath.lastIndexOf(u'/'), 0)));
    for (const QString &document : documents.first(std::min(documents.size(), MaxChapters))) {
        if (gathered >= MaxCharacters)
            break;
        const auto bytes = archive->readPrefix(document, MaxEntryBytes);
        const auto xhtml = bytes ? decodeText(*bytes, bytes->size() < MaxEntryBytes) : std::nullopt;
        const QString text = xhtml ? normalizedText(htmlText(bodyOf(*xhtml))) : QString();
        if (text.isEmpty())
            continue;
        chapters.append(text);
        gathered += text.size();
    }
    return normalizedText(chapters.join(QStringLiteral("\n\n")));
}

} // namespace Nomly
