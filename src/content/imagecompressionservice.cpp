#include "content/imagecompressionservice.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QStandardPaths>
#include <QUrl>
#include <algorithm>
#include <cmath>

#include "content/embeddedpreview.h"
#include "content/extensiontables.h"
#include "content/picturefit_p.h"
#include "content/picturereader.h"
#include "content/popplerdocument.h"
#include "content/previewentries.h"
#include "platform/logcategories.h"
#include "platform/ziparchive.h"

namespace Nomly {

namespace {

bool isPositive(double value)
{
    return std::isfinite(value) && value > 0;
}

std::optional<QByteArray> encodedJpeg(const QImage &image, double quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(std::clamp(static_cast<int>(std::lround(quality * 100)), 0, 100));
    if (!writer.write(image))
        return std::nullopt;
    return bytes;
}

std::optional<QByteArray> svgRender(const QString &path, int target, double quality)
{
    QImageReader reader(path, "svg");
    const QSize size = reader.size();
    if (!size.isValid() || size.isEmpty()) {
        qCWarning(lcProcessing).noquote() << "Invalid SVG size:" << path;
        return std::nullopt;
    }
    // A small icon is enlarged to fill most of the canvas, with a margin.
    const double box = target * 0.76;
    const double scale = std::min(box / size.width(), box / size.height());
    const QSize drawn(int(std::lround(size.width() * scale)), int(std::lround(size.height() * scale)));
    if (drawn.isEmpty()) {
        qCWarning(lcProcessing).noquote() << "Invalid SVG draw size for AI render:" << path;
        return std::nullopt;
    }
    reader.setScaledSize(drawn);
    const QImage image = reader.read();
    if (image.isNull()) {
        qCWarning(lcProcessing).noquote() << "Failed to load SVG:" << path;
        return std::nullopt;
    }
    QImage canvas(target, target, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    painter.drawImage(QPoint((target - drawn.width()) / 2, (target - drawn.height()) / 2), image);
    painter.end();
    return encodedJpeg(canvas, quality);
}

// The desktop's thumbnail of the file, fitted to the target.
std::optional<QByteArray> cachedThumbnail(const QString &path, int target, double quality)
{
    if (const auto image = ImageCompressionService::desktopThumbnail(path))
        return ImageCompressionService::resizeImage(*image, target, quality);
    qCInfo(lcProcessing).noquote() << "No desktop thumbnail for:" << path;
    return std::nullopt;
}

std::optional<QByteArray> decodedPreview(const QByteArray &data, const QString &path, int target, double quality)
{
    const Result<QImage> image = PictureReader::read(data, QSize(target, target));
    if (!image) {
        qCWarning(lcProcessing).noquote() << "Archive preview image could not be decoded:" << path << image.error();
        return std::nullopt;
    }
    return ImageCompressionService::resizeImage(image.value(), target, quality);
}

std::optional<QByteArray> archivePreview(const QString &path, int target, double quality)
{
    static const QStringList Names { QStringLiteral("preview.jpg"),       QStringLiteral("preview.jpeg"),
                                     QStringLiteral("preview.png"),       QStringLiteral("preview-web.jpg"),
                                     QStringLiteral("preview-web.jpeg"),  QStringLiteral("preview-web.png"),
                                     QStringLiteral("preview-micro.jpg"), QStringLiteral("preview-micro.jpeg"),
                                     QStringLiteral("preview-micro.png") };
    const QFileInfo file(path);
    if (file.isDir()) {
        for (const QString &name : Names) {
            const QFileInfo candidate(QDir(path).filePath(name));
            // Regular files only: a link to a device or a pipe is no picture.
            QFile entry(candidate.filePath());
            if (!candidate.isFile() || candidate.isSymLink()
                || candidate.size() > ImageCompressionService::ArchivePreviewMaxBytes
                || !entry.open(QIODevice::ReadOnly))
                continue;
            const QByteArray data = entry.read(ImageCompressionService::ArchivePreviewMaxBytes + 1);
            if (!data.isEmpty() && data.size() <= ImageCompressionService::ArchivePreviewMaxBytes)
                return decodedPreview(data, path, target, quality);
        }
        return std::nullopt;
    }
    const auto archive = ZipArchive::open(path);
    if (!archive)
        return std::nullopt;
    for (const QString &entry : rankedPreviewEntries(archive->entryNames())) {
        const auto data = archive->read(entry, ImageCompressionService::ArchivePreviewMaxBytes);
        if (!data) {
            qCWarning(lcProcessing).noquote() << "Failed to extract archive preview entry" << entry;
            continue;
        }
        if (!data->isEmpty())
            return decodedPreview(*data, path, target, quality);
    }
    return std::nullopt;
}

// Decoded at the target size where the format can (JPEG scales while it
// decodes), with the orientation the file asks for.
std::optional<QByteArray> imageSource(const QString &path, int target, double quality)
{
    const Result<QImage> image = PictureReader::read(path, QSize(target, target));
    if (!image) {
        qCWarning(lcProcessing).noquote() << "Failed to decode picture:" << path << image.error();
        return std::nullopt;
    }
    return ImageCompressionService::resizeImage(image.value(), target, quality);
}

std::optional<QByteArray> firstPdfPage(const QString &path, int target, double quality)
{
    const QList<QByteArray> pages = ImageCompressionService::renderPdfPages(path, { 0 }, target, quality);
    return pages.isEmpty() ? std::nullopt : std::optional(pages.first());
}

} // namespace

const QStringList &ImageCompressionService::archivePreviewExtensions()
{
    static const QStringList extensions { QStringLiteral("sketch"),
                                          QStringLiteral("fig"),
                                          QStringLiteral("pages"),
                                          QStringLiteral("numbers"),
                                          QStringLiteral("key") };
    return extensions;
}

const QStringList &ImageCompressionService::pdfCompatiblePreviewExtensions()
{
    static const QStringList extensions { QStringLiteral("ai") };
    return extensions;
}

const QStringList &ImageCompressionService::desktopThumbnailExtensions()
{
    static const QStringList extensions { QStringLiteral("sketch"), QStringLiteral("fig"),     QStringLiteral("ai"),
                                          QStringLiteral("pages"),  QStringLiteral("numbers"), QStringLiteral("key") };
    return extensions;
}

std::optional<QByteArray> ImageCompressionService::loadImage(const QString &path, int target, double quality)
{
    if (target < 1)
        return std::nullopt;
    const QString extension = contentExtension(path);
    if (extension == u"svg")
        return svgRender(path, target, quality);
    if (extension == u"pdf")
        return firstPdfPage(path, target, quality);
    if (archivePreviewExtensions().contains(extension)) {
        if (auto preview = archivePreview(path, target, quality))
            return preview;
        return cachedThumbnail(path, target, quality);
    }
    if (pdfCompatiblePreviewExtensions().contains(extension)) {
        if (auto page = firstPdfPage(path, target, quality))
            return page;
        return cachedThumbnail(path, target, quality);
    }
    if (desktopThumbnailExtensions().contains(extension))
        return cachedThumbnail(path, target, quality);

    if (auto decoded = imageSource(path, target, quality))
        return decoded;
    // Camera raw files and formats without a decoder here usually carry a
    // finished JPEG inside.
    QElapsedTimer timer;
    timer.start();
    if (const auto embedded = largestEmbeddedPreview(path)) {
        if (auto preview = decodedPreview(*embedded, path, target, quality)) {
            qCInfo(lcProcessing).noquote() << "RAW decode:" << timer.elapsed() << "ms";
            return preview;
        }
    }
    return cachedThumbnail(path, target, quality);
}

std::optional<QImage> ImageCompressionService::desktopThumbnail(const QString &path)
{
    const QFileInfo file(path);
    const QByteArray uri = QUrl::fromLocalFile(file.absoluteFilePath()).toEncoded();
    const QString name = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + u".png";
    const QDir cache(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails");
    for (const char *size : { "xx-large", "x-large", "large", "normal" }) {
        // Thumbnails are small; the text chunk that dates one may follow the
        // pixels, so the whole picture is read first.
        const QImage image(cache.filePath(QString::fromLatin1(size) + u'/' + name), "png");
        if (image.isNull())
            continue;
        if (image.text(QStringLiteral("Thumb::MTime")).toLongLong() != file.lastModified().toSecsSinceEpoch())
            continue;
        return image;
    }
    return std::nullopt;
}

QList<QByteArray> ImageCompressionService::renderPdfPages(const QString &path,
                                                          const QList<int> &pageIndices,
                                                          int target,
                                                          double quality)
{
    QList<QByteArray> rendered;
    const std::unique_ptr<Poppler::Document> document = openPdf(path);
    if (!document || document->isLocked() || target < 1) {
        qCWarning(lcProcessing).noquote() << "Failed to load PDF or get first page:" << path;
        return rendered;
    }
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    for (const int index : pageIndices) {
        if (index < 0 || index >= document->numPages())
            continue;
        const std::unique_ptr<Poppler::Page> page = document->page(index);
        if (!page) {
            qCWarning(lcProcessing).noquote() << "Failed to get PDF page" << index;
            continue;
        }
        const QSizeF points = page->pageSizeF();
        if (!isPositive(points.width()) || !isPositive(points.height())) {
            qCWarning(lcProcessing).noquote() << "Invalid PDF page size:" << points;
            continue;
        }
        // A page is never enlarged: its size in points is its largest size.
        const double scale = std::min({ target / points.width(), target / points.height(), 1.0 });
        const QImage image = page->renderToImage(72.0 * scale, 72.0 * scale);
        if (image.isNull()) {
            qCWarning(lcProcessing).noquote() << "Invalid PDF thumbnail size:" << path << index;
            continue;
        }
        if (auto jpeg = resizeImage(image, target, quality))
            rendered.append(*jpeg);
    }
    return rendered;
}

std::optional<QByteArray> ImageCompressionService::resizeImage(const QImage &image, int target, double quality)
{
    if (image.isNull() || image.width() < 1 || image.height() < 1) {
        qCWarning(lcProcessing).noquote() << "Invalid image size for resize:" << image.size();
        return std::nullopt;
    }
    if (target < 1) {
        qCWarning(lcProcessing).noquote() << "Invalid target image size for resize:" << target;
        return std::nullopt;
    }
    const QSize size = fittedSize(image.size(), QSize(target, target));
    // Transparent areas come out white, as the AI would see them on paper.
    QImage canvas(size, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(QPoint(0, 0), size), image);
    painter.end();
    return encodedJpeg(canvas, quality);
}

} // namespace Nomly
