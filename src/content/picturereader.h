#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include "platform/result.h"

namespace Nomly {

// Every picture the program decodes goes through here: a file or bytes,
// decoded upright (the orientation its metadata asks for applied) and no
// larger than a bound, which formats that can decode at a reduced size
// (JPEG) do while decoding. HEIF and AVIF pictures, known by their content
// whatever their name, go to libheif; every other format to Qt's image
// plugins. Safe to call from any thread.
class PictureReader final
{
public:
    PictureReader() = delete;

    // An empty bound decodes at full size. The failure's message says why
    // nothing was decoded.
    static Result<QImage> read(const QString &path, QSize bound = {});
    static Result<QImage> read(const QByteArray &data, QSize bound = {});

    // Whether a file with this extension (lower case, without the dot) is a
    // picture one of the decoders reads.
    static bool readsExtension(const QString &extension);
};

} // namespace Nomly
