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
// move, ignore the new path, metadata, record. The ignore entries are in place
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

    // Never fails by exception: every outcome is in the result. Refuses a
    // failed analysis without touching the file; the work itself runs on a
    // worker thread.
    QCoro::Task<FileProcessingResult> processAnalyzedFile(QString path,
                                                          ImageAnalysis analysis,
                                                          std::optional<QString> contentHash,
                                                          ProcessedFileSource source,
                                                          QString aiProvider);

    // The steps themselves, blocking. Returns the stored record. A failure
    // before the move leaves the file as it was; a failure to store the
    // record leaves it renamed.
    Result<ProcessedFile> execute(const QString &path,
                                  const ImageAnalysis &analysis,
                                  const EffectiveAnalysisSettings &settings,
                                  const std::optional<QString> &contentHash,
                                  const QString &aiProvider,
                                  ProcessedFileSource source);

private:
    Database &m_database;
    UndoIgnoreService &m_undoIgnore;
    Dependencies m_dependencies;
};

} // namespace Nomly
