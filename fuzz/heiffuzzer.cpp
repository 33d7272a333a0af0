// HEIF pictures as libheif decodes them for us: from bytes at a preview's
// size, and from a file as the naming facts read its size.

#include <QByteArray>

#include "content/heifimage.h"
#include "fuzzfile.h"

// When the AV1 decoder rejects its input, libheif leaves dav1d's 40-byte data
// record behind (heif-convert does the same under valgrind); that leak is
// theirs, and would hide every finding of ours behind it.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libdav1d.so\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    Nomly::HeifImage::isHeif(bytes);
    Nomly::HeifImage::read(bytes, QSize(256, 256));
    const Nomly::Fuzz::FuzzFile file("input.heic", data, size);
    Nomly::HeifImage::size(file.path());
    return 0;
}
