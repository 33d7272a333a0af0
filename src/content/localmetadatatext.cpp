#include "content/localmetadatatext.h"

#include <QFileInfo>
#include <QImage>
#include <QLocale>
#include <QMimeDatabase>
#include <QStringList>
#include <algorithm>

#include "content/contenttext.h"
#include "content/exiffacts.h"
#include "content/extensiontables.h"
#include "content/extractionlimits.h"
#include "content/picturereader.h"
#include "content/textrecognizer.h"
#include "platform/ziparchive.h"

namespace Nomly {

namespace {

constexpr int EmbeddedImagesRead = 5;
constexpr qint64 EmbeddedImageBytes = 8'000'000;
constexpr int EmbeddedImageEdge = 2500;

QString readableDate(const QDateTime &moment)
{
    return moment.isValid() ? QLocale::c().toString(moment.toLocalTime(), QStringLiteral("yyyy-MM-dd HH:mm"))
                            : QString();
}

} // namespace

std::optional<QString> localMetadataText(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return std::nullopt;
    static const QMimeDatabase database;
    PatternFileMetadata camera;
    readExifFacts(path, QStringLiteral("yyyy-MM-dd"), camera);
    const QList<std::pair<const char *, QString>> entries {
        { "File type", database.mimeTypeForFile(file).name() },
        { "Created", readableDate(file.birthTime()) },
        { "Modified", readableDate(file.lastModified()) },
        { "File size bytes", QString::number(file.size()) },
        { "Image dimensions", camera.width.isEmpty() ? QString() : camera.width + u" x " + camera.height },
        { "Capture date", camera.captureDate.isEmpty() ? QString() : camera.captureDate + u' ' + camera.captureTime },
        { "Camera make", camera.cameraMake },
        { "Camera model", camera.cameraModel },
        { "Lens model", camera.lensModel },
        { "Focal length", camera.focalLength },
        { "ISO", camera.iso },
    };
    QStringList lines;
    for (const auto &[label, value] : entries) {
        const QString line = QString(QString::fromLatin1(label) + u": " + value.trimmed()).trimmed();
        if (!value.trimmed().isEmpty() && !lines.contains(line))
            lines.append(line);
    }
    const QString text = lines.join(u'\n').trimmed();
    if (text.isEmpty())
        return std::nullopt;
    return cutText(text, ExtractionLimits::MaxLocalMetadataCharacters);
}

std::optional<QString> embeddedImagesText(const QString &path)
{
    const QString extension = contentExtension(path);
    QString folder;
    if (isIn(ExtensionSet::Word, extension))
        folder = QStringLiteral("word/media/");
    else if (isIn(ExtensionSet::PowerPoint, extension))
        folder = QStringLiteral("ppt/media/");
    else if (isIn(ExtensionSet::Excel, extension))
        folder = QStringLiteral("xl/media/");
    else if (isIn(ExtensionSet::OpenDocument, extension))
        folder = QStringLiteral("Pictures/");
    else
        return std::nullopt;
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    QStringList pictures;
    for (const QString &name : archive->entryNames()) {
        if (name.startsWith(folder) && isIn(ExtensionSet::EmbeddedImage, dispatchExtension(name)))
            pictures.append(name);
    }
    std::sort(pictures.begin(), pictures.end());
    QList<QImage> images;
    for (const QString &name : pictures.first(std::min<qsizetype>(pictures.size(), EmbeddedImagesRead))) {
        // What was read by the limit is used; a cut picture may still decode.
        const auto data = archive->readPrefix(name, EmbeddedImageBytes);
        if (!data || data->isEmpty())
            continue;
        // Decoded no larger than recognition reads it.
        const Result<QImage> image = PictureReader::read(*data, QSize(EmbeddedImageEdge, EmbeddedImageEdge));
        if (image)
            images.append(image.value());
    }
    return TextRecognizer::recognize(images);
}

} // namespace Nomly
