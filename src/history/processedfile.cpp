#include "history/processedfile.h"

#include "naming/rawvalue.h"

namespace Nomly {

namespace {

constexpr RawValueTable<ProcessedFileSource, 4> ProcessedFileSourceRawValues { {
    { ProcessedFileSource::Watcher, u"watcher" },
    { ProcessedFileSource::Batch, u"batch" },
    { ProcessedFileSource::Hotkey, u"hotkey" },
    { ProcessedFileSource::FinderService, u"finderService" },
} };

} // namespace

QString rawValue(ProcessedFileSource source)
{
    return rawValueIn(ProcessedFileSourceRawValues, source);
}

ProcessedFileSource processedFileSourceFromRaw(const QString &raw)
{
    return fromRawValueIn(ProcessedFileSourceRawValues, raw).value_or(ProcessedFileSource::Watcher);
}

} // namespace Nomly
