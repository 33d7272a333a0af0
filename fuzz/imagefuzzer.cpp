// Pictures as the preview path decodes them, under the names that pick its
// branches: plain decoding with embedded previews, SVG, and design archives.

#include "content/imagecompressionservice.h"
#include "fuzzfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const char *name : { "input.jpg", "input.png", "input.svg", "input.sketch", "input.cr2" }) {
        const Nomly::Fuzz::FuzzFile file(name, data, size);
        Nomly::ImageCompressionService::loadImage(file.path(), 256, 0.5);
    }
    return 0;
}
