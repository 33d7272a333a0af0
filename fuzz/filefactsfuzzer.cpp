// The embedded-metadata readers that names are filled from: EXIF, PDF
// attributes, and audio and video probing.

#include "content/patternmetadatareader.h"
#include "fuzzfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Nomly::PatternMetadataOptions options;
    options.imageExtensions = { QStringLiteral("jpg"), QStringLiteral("png") };
    for (const char *name : { "input.jpg", "input.pdf", "input.mp4", "input.mp3" }) {
        const Nomly::Fuzz::FuzzFile file(name, data, size);
        Nomly::PatternMetadataReader::read(file.path(), options);
    }
    return 0;
}
