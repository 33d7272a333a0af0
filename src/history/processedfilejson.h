#pragma once

#include <QJsonObject>

#include "history/processedfile.h"

namespace Nomly {

// One activity record under the names of its fields, as `nomly history
// --json` prints it: `id` only once stored, `contentHash` and
// `metadataSnapshot` null when absent, `source` as its raw value, `runId`
// only when the record has one.
QJsonObject toJson(const ProcessedFile &record);

} // namespace Nomly
