// A PDF as the extraction and preview paths open it.

#include "content/fileextractionservice.h"
#include "content/imagecompressionservice.h"
#include "fuzzfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Nomly::Fuzz::FuzzFile file("input.pdf", data, size);
    Nomly::FileExtractionService::extract(file.path(), Nomly::ExtractionOptions());
    Nomly::ImageCompressionService::renderPdfPages(file.path(), { 0, 1 }, 256, 0.5);
    return 0;
}
