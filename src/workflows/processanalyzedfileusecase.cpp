#include "workflows/processanalyzedfileusecase.h"

#include <QDateTime>
#include <QFileInfo>
#include <QUuid>
#include <cerrno>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "content/patternmetadatareader.h"
#include "history/database.h"
#include "history/metadataservice.h"
#include "history/undoignoreservice.h"
#include "naming/builtinextensions.h"
#include "naming/filerenamer.h"
#include "platform/canonicalpath.h"
#include "platform/fileidentity.h"
#include "platform/filemover.h"
#include "platform/logcategories.h"
#include "workflows/analysisrenderinput.h"
#include "workflows/journaledrename.h"

namespace Nomly {

namespace {

// Names taken by other programs between choosing and moving, in a row.
constexpr int MaxNameAttempts = 8;

} // namespace

ProcessAnalyzedFileUseCase::ProcessAnalyzedFileUseCase(Database &database, UndoIgnoreService &undoIgnore)
    : m_database(database)
    , m_undoIgnore(undoIgnore)
    , m_runId(QUuid::createUuid().toString(QUuid::WithoutBraces))
{}

QCoro::Task<FileProcessingResult> ProcessAnalyzedFileUseCase::processAnalyzedFile(QString path,
                                                                                  ImageAnalysis analysis,
                                                                                  std::optional<QString> contentHash,
                                                                                  ProcessedFileSource source,
                                                                                  QString aiProvider)
{
    const Dependencies dependencies = m_dependencies;
    if (!dependencies.settingsFor || !dependencies.addActivityFile)
        co_return FileProcessingResult::failure(QStringLiteral("Coordinator released"));

    const EffectiveAnalysisSettings settings = dependencies.settingsFor(path, source);
    if (analysis.isFailed()) {
        const QString error = analysis.error.value_or(QStringLiteral("AI analysis failed"));
        qCCritical(lcProcessing).noquote() << "Skipping" << QFileInfo(path).fileName() << "-" << error;
        co_return FileProcessingResult::failure(error);
    }

    // Named before it is awaited: g++ 12 may destroy the temporaries of a
    // co_await expression twice. The run is read here, on the thread that
    // sets it, so a run begun meanwhile leaves this file in its own.
    auto work = QtConcurrent::run([this, path, analysis, settings, contentHash, aiProvider, source, runId = m_runId] {
        return executeInRun(path, analysis, settings, contentHash, aiProvider, source, runId);
    });
    const Result<ProcessedFile> stored = co_await work;
    if (!stored) {
        qCCritical(lcProcessing).noquote() << "Error processing file:" << path << "-" << stored.error();
        co_return FileProcessingResult::failure(stored.error());
    }
    const ProcessedFile &record = stored.value();
    dependencies.addActivityFile(record);
    qCInfo(lcProcessing).noquote() << "File processed:" << record.originalName << "→" << record.newName;
    co_return FileProcessingResult { true, record.newName, record.newPath, std::nullopt };
}

Result<ProcessedFile> ProcessAnalyzedFileUseCase::execute(const QString &path,
                                                          const ImageAnalysis &analysis,
                                                          const EffectiveAnalysisSettings &settings,
                                                          const std::optional<QString> &contentHash,
                                                          const QString &aiProvider,
                                                          ProcessedFileSource source)
{
    return executeInRun(path, analysis, settings, contentHash, aiProvider, source, m_runId);
}

Result<ProcessedFile> ProcessAnalyzedFileUseCase::executeInRun(const QString &path,
                                                               const ImageAnalysis &analysis,
                                                               const EffectiveAnalysisSettings &settings,
                                                               const std::optional<QString> &contentHash,
                                                               const QString &aiProvider,
                                                               ProcessedFileSource source,
                                                               const QString &runId)
{
    const QString name = QFileInfo(path).fileName();
    // What was analysed may have been replaced meanwhile by a folder, a FIFO
    // or a link; only a regular file itself is renamed and written to.
    if (!isRegularFile(path))
        return Failure { QStringLiteral("\"%1\" is no longer a regular file; it was left as it is").arg(name) };

    std::optional<ProcessedFileMetadataSnapshot> snapshot;
    if (auto taken = MetadataService::snapshot(path))
        snapshot = std::move(taken).value();
    else
        qCCritical(lcProcessing).noquote()
            << "Failed to snapshot metadata for" << path + QStringLiteral(": ") + taken.error();

    const QDateTime now = QDateTime::currentDateTime();
    PatternMetadataOptions factOptions;
    factOptions.dateFormat = settings.dateFormat;
    factOptions.imageExtensions = BuiltInExtensions::image();
    const PatternRenderInput renderInput
        = analysisRenderInput(settings, analysis, now, PatternMetadataReader::read(path, factOptions));

    ProcessedFile record;
    record.originalPath = path;
    record.originalName = name;
    record.title = analysis.title.value_or(QString());
    record.description = analysis.description;
    record.tags = analysis.tags.join(QStringLiteral(", "));
    record.aiProvider = aiProvider;
    record.processedAt = now.toUTC().toString(Qt::ISODate);
    record.contentHash = contentHash;
    record.metadataSnapshot = snapshot;
    record.source = source;
    record.runId = runId;

    m_undoIgnore.ignorePath(path, true);
    if (contentHash)
        m_undoIgnore.ignoreHash(*contentHash, true);

    // Another process may take the chosen name between the choice and the
    // move; the file then goes to the next free name.
    for (int attempt = 0; attempt < MaxNameAttempts; ++attempt) {
        const QString destination = FileRenamer::destination(path, renderInput);
        if (destination.isEmpty())
            return Failure { QStringLiteral("No name could be made for \"%1\"").arg(name) };
        record.newPath = destination;
        record.newName = QFileInfo(destination).fileName();
        record.fileIdentity = FileIdentity::of(path);
        if (!record.fileIdentity)
            return Failure { QStringLiteral("\"%1\" is gone; nothing was renamed").arg(name) };

        // The record comes first: a file whose record cannot be written stays
        // where it is.
        const Result<qint64> id = m_database.insertPendingProcessedFile(record);
        if (!id)
            return Failure {
                QStringLiteral("\"%1\" was not renamed: its record could not be written: %2").arg(name, id.error()),
                id.failure().code
            };
        record.id = id.value();

        // A name that comes out the same is no move, but the file still gets
        // its metadata and record: it has been analysed and named.
        const bool moves = canonicalPath(path) != canonicalPath(destination);
        if (moves) {
            if (const auto moved = FileMover::move(path, destination); !moved) {
                withdraw(id.value());
                if (moved.failure().code == EEXIST)
                    continue;
                return moved.failure();
            }
        }
        if (const Result<> confirmed = m_database.confirmProcessedFile(id.value()); !confirmed)
            return unrecordedMove(record, moves, confirmed.failure());

        m_undoIgnore.ignorePath(destination, true);
        writeAnalysisMetadata(destination, analysis, settings.addFinderTags, settings.addSpotlightMetadata);
        return record;
    }
    return Failure {
        QStringLiteral("\"%1\" was not renamed: every free name was taken by another program meanwhile").arg(name),
        EEXIST
    };
}

void ProcessAnalyzedFileUseCase::withdraw(qint64 id)
{
    // A record left pending is withdrawn at the next open, since its file
    // never moved.
    if (const Result<> withdrawn = m_database.withdrawPendingProcessedFile(id); !withdrawn)
        qCWarning(lcProcessing).noquote() << "Could not withdraw a pending record:" << withdrawn.error();
}

Failure ProcessAnalyzedFileUseCase::unrecordedMove(const ProcessedFile &record, bool moved, const Failure &cause)
{
    // The rename without its record is taken back, so that the user's file
    // and the history agree.
    if (!moved || FileMover::move(record.newPath, record.originalPath)) {
        withdraw(*record.id);
        return Failure { QStringLiteral("\"%1\" was not renamed: its record could not be stored: %2")
                             .arg(record.originalName, cause.message),
                         cause.code };
    }
    // Left pending: the next open of the history finds the file at its new
    // name and confirms the record.
    return Failure { QStringLiteral("\"%1\" was renamed to \"%2\", but its record could not be stored yet (%3); it "
                                    "will be completed the next time Nomly opens its history")
                         .arg(record.originalName, record.newName, cause.message),
                     cause.code };
}

} // namespace Nomly
