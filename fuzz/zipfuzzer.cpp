// ZIP containers: listing, ranking the preview entries and reading each
// with its byte limit.

#include "content/previewentries.h"
#include "fuzzfile.h"
#include "platform/ziparchive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Nomly::Fuzz::FuzzFile file("input.zip", data, size);
    const auto archive = Nomly::ZipArchive::open(file.path());
    if (!archive)
        return 0;
    const QStringList names = archive->entryNames();
    Nomly::rankedPreviewEntries(names);
    for (const QString &name : names) {
        archive->read(name, 1 << 16);
        archive->readPrefix(name, 1 << 10);
    }
    return 0;
}
