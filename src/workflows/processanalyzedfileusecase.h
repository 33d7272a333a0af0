#pragma once

#include <QString>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/imageanalysis.h"
#include "history/processedfile.h"
#include "platform/result.h"
#include "settings/effectiveanalysissettings.h"
#include "workflows/fileprocessingresult.h"

namespace Nomly {

class Database;
class UndoIgnoreService;

// The step from an AI's answer to a renamed file with its metadata and its
// activity record. Monitor and quick rename both finish here, and so does the
// command line's `apply`.
//
// The order is fixed: snapshot, destination, ignore the old path and hash,
// pending record, move, confirmed record, ignore the new path, metadata. The ignore entries are in place
// before the file moves, so the Monitor never takes the rename for a new file.
class ProcessAnalyzedFileUseCase final
{
public:
    // What the owner supplies once it exists. Until then every call fails
    // with "Coordinator released" and touches nothing.
    struct Dependencies
    {
        // The effective settings for a file handed in by `source`.
        std::function<EffectiveAnalysisSettings(const QString &path, ProcessedFileSource source)> settingsFor;
        // Called on the calling thread with each stored record.
        std::function<void(const ProcessedFile &)> addActivityFile;
    };

    ProcessAnalyzedFileUseCase(Database &database, UndoIgnoreService &undoIgnore);
    ProcessAnalyzedFileUseCase(const ProcessAnalyzedFileUseCase &) = delete;
    ProcessAnalyzedFileUseCase &operator=(const ProcessAnalyzedFileUseCase &) = delete;

    void setDependencies(Dependencies dependencies) { m_dependencies = std::move(dependencies); }

    // The run every record it stores from now on belongs to: a fresh one from
    // construction, so one process of the command line is one run. A
    // workflow that starts a run of its own sets a new one. A call that is
    // under way keeps the run it began with.
    QString runId() const { return m_runId; }

    void setRunId(QString runId) { m_runId = std::move(runId); }

    // Never fails by exception: every outcome is in the result. Refuses a
    // failed analysis without touching the file; the work itself runs on a
    // worker thread.
    QCoro::Task<FileProcessingResult> processAnalyzedFile(QString path,
                                                          ImageAnalysis analysis,
                                                          std::optional<QString> contentHash,
                                                          ProcessedFileSource source,
                                                          QString aiProvider);

    // The steps themselves, blocking. Returns the stored record. The record
    // is written pending before the move and confirmed after it: a file whose
    // record cannot be written is not moved, and one whose record cannot be
    // confirmed is moved back. A failure leaves the file as it was, unless
    // even the way back failed; its message says so.
    Result<ProcessedFile> execute(const QString &path,
                                  const ImageAnalysis &analysis,
                                  const EffectiveAnalysisSettings &settings,
                                  const std::optional<QString> &contentHash,
                                  const QString &aiProvider,
                                  ProcessedFileSource source);

private:
    Result<ProcessedFile> executeInRun(const QString &path,
                                       const ImageAnalysis &analysis,
                                       const EffectiveAnalysisSettings &settings,
                                       const std::optional<QString> &contentHash,
                                       const QString &aiProvider,
                                       ProcessedFileSource source,
                                       const QString &runId);
    void withdraw(qint64 id);
    Failure unrecordedMove(const ProcessedFile &record, bool moved, const Failure &cause);

    Database &m_database;
    UndoIgnoreService &m_undoIgnore;
    Dependencies m_dependencies;
    QString m_runId;
};

} // namespace Nomly
