#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

#include "history/processedfilemetadatasnapshot.h"
#include "platform/fileidentity.h"

namespace Nomly {

// Which workflow renamed a file. The raw values are stored.
enum class ProcessedFileSource
{
    Watcher,
    Batch,
    Hotkey,
    FinderService,
};

QString rawValue(ProcessedFileSource source);
// Unknown or empty text reads as the watcher, the only source older files knew.
ProcessedFileSource processedFileSourceFromRaw(const QString &raw);

// One rename that Nomly carried out: one row of the activity log.
struct ProcessedFile
{
    std::optional<qint64> id; // absent until stored
    QString originalPath;
    QString newPath;
    QString originalName;
    QString newName;
    QString title;
    QString description;
    QString tags; // joined with ", "
    QString aiProvider;
    QString processedAt; // ISO 8601 in UTC with a trailing Z, as stored
    std::optional<QString> contentHash;
    bool isUndone = false;
    std::optional<ProcessedFileMetadataSnapshot> metadataSnapshot;
    ProcessedFileSource source = ProcessedFileSource::Watcher;
    // The renamed file as it stood at the move; undo moves back only this
    // file. Absent in records older than the journal.
    std::optional<FileIdentity> fileIdentity;
    // The run that made the record: every file one command, batch or quick
    // rename renamed shares it, so that all of them can be undone together.
    // Absent in records older than runs; each of those is a run of its own.
    std::optional<QString> runId;

    bool operator==(const ProcessedFile &) const = default;
};

} // namespace Nomly
