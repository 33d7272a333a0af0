#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

#include "platform/result.h"

namespace Nomly {

// Pictures in the HEIF container, which Qt has no plugin for: HEIC from
// phones and cameras, and AVIF. Decoded by libheif, which reads the primary
// image and applies the rotation, mirroring and cropping the container asks
// for; an EXIF orientation inside is ignored, as those transformations take
// its place. A picture larger than MaxPixels, or with an edge over MaxEdge, is
// refused before any pixel is decoded. Safe to call from any thread.
class HeifImage final
{
public:
    // Room for the 108-megapixel phone sensors, at 4 bytes a pixel decoded.
    static constexpr qint64 MaxPixels = 128'000'000;
    static constexpr int MaxEdge = 32768;

    HeifImage() = delete;

    // The extensions such pictures are saved under, lower case.
    static const QStringList &extensions();

    // Whether a file's first bytes (its whole `ftyp` box; 256 bytes are
    // plenty) show a still picture in the container: its major or one of its
    // compatible brands is one of a HEVC or AV1 image or of a general image.
    static bool isHeif(const QByteArray &head);
    // The same for a regular file; a FIFO or device is never opened.
    static bool isHeifFile(const QString &path);

    // The upright size of the primary image, read without decoding it.
    static Result<QSize> size(const QString &path);

    // The primary image, upright, scaled down to fit `bound` (never up); an
    // empty bound keeps its full size. A thumbnail the file carries is used
    // instead when it is large enough and of the same proportions.
    static Result<QImage> read(const QString &path, QSize bound = {});
    static Result<QImage> read(const QByteArray &data, QSize bound = {});
};

} // namespace Nomly
