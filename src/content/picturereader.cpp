#include "content/picturereader.h"

#include <QBuffer>
#include <QImageReader>

#include "content/heifimage.h"
#include "content/picturefit_p.h"

namespace Nomly {

namespace {

Result<QImage> readByQt(QImageReader &reader, QSize bound)
{
    reader.setAutoTransform(true);
    // The reader scales before it turns the picture upright, so a picture
    // stored on its side is fitted to the bound turned with it.
    QSize storedBound = bound;
    if (reader.transformation() & QImageIOHandler::TransformationRotate90)
        storedBound.transpose();
    const QSize stored = reader.size();
    if (stored.isValid() && fittedSize(stored, storedBound) != stored)
        reader.setScaledSize(fittedSize(stored, storedBound));
    const QImage image = reader.read();
    if (image.isNull())
        return Failure { reader.errorString() };
    // A format that cannot tell its size before decoding comes back whole.
    const QSize fitted = fittedSize(image.size(), bound);
    if (fitted == image.size())
        return image;
    return image.scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

Result<QImage> PictureReader::read(const QString &path, QSize bound)
{
    if (HeifImage::isHeifFile(path))
        return HeifImage::read(path, bound);
    QImageReader reader(path);
    return readByQt(reader, bound);
}

Result<QImage> PictureReader::read(const QByteArray &data, QSize bound)
{
    if (HeifImage::isHeif(data.first(std::min<qsizetype>(data.size(), 256))))
        return HeifImage::read(data, bound);
    QBuffer buffer;
    buffer.setData(data);
    QImageReader reader(&buffer);
    return readByQt(reader, bound);
}

bool PictureReader::readsExtension(const QString &extension)
{
    return HeifImage::extensions().contains(extension)
        || QImageReader::supportedImageFormats().contains(extension.toLatin1());
}

} // namespace Nomly
