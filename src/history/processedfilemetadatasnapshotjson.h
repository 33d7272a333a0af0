#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <optional>

#include "history/processedfilemetadatasnapshot.h"

namespace Nomly {

// The tags always; the comment and the title only when the file had them.
QJsonObject toJson(const ProcessedFileMetadataSnapshot &snapshot);

// Strict where the tolerant decoders of settings are not: undo writes the
// snapshot back over the file, so a snapshot read with a key missing or of
// the wrong type would wipe what the file had. Such text gives none, with
// `error` saying why. A null comment or title counts as absent.
std::optional<ProcessedFileMetadataSnapshot> processedFileMetadataSnapshotFromJson(const QByteArray &json,
                                                                                   QString *error = nullptr);

} // namespace Nomly
