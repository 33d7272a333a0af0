// HEIF pictures as libheif decodes them for us: from bytes at a preview's
// size, and from a file as the naming facts read its size.

#include <QByteArray>

#include "content/heifimage.h"
#include "fuzzfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    Nomly::HeifImage::isHeif(bytes);
    Nomly::HeifImage::read(bytes, QSize(256, 256));
    const Nomly::Fuzz::FuzzFile file("input.heic", data, size);
    Nomly::HeifImage::size(file.path());
    return 0;
}
