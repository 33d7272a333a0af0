#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>
#include <optional>

namespace Nomly {

// What the AI looks at: a JPEG no larger than a target edge, made from any
// image, vector, design or PDF file. Formats that cannot be decoded give the
// preview they carry inside (design archives, camera raw files), and the
// desktop's thumbnail cache is the last resort. Large images are decoded at
// reduced size where the format allows. Nothing raises: a failure is logged
// and gives nothing, and the caller moves on to its next source. Safe to call
// from any thread.
class ImageCompressionService final
{
public:
    static constexpr qint64 ArchivePreviewMaxBytes = 20 * 1024 * 1024;

    ImageCompressionService() = delete;

    // `quality` is the JPEG compression factor from 0 to 1.
    static std::optional<QByteArray> loadImage(const QString &path, int target, double quality);
    // One JPEG per page that renders, in the order asked; pages are never
    // enlarged.
    static QList<QByteArray> renderPdfPages(const QString &path,
                                            const QList<int> &pageIndices,
                                            int target,
                                            double quality);
    // Scaled down to fit the target (never up), on white, as JPEG.
    static std::optional<QByteArray> resizeImage(const QImage &image, int target, double quality);

    // The freedesktop thumbnail cache's picture of the file, when it holds
    // one made after the file's last change; the largest size first.
    static std::optional<QImage> desktopThumbnail(const QString &path);

    // The extension groups that take another way than plain decoding.
    static const QStringList &archivePreviewExtensions();
    static const QStringList &pdfCompatiblePreviewExtensions();
    static const QStringList &desktopThumbnailExtensions();
};

} // namespace Nomly
