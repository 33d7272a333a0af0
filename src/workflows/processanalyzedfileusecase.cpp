#include "workflows/processanalyzedfileusecase.h"

#include <QDateTime>
#include <QFileInfo>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "history/database.h"
#include "history/metadataservice.h"
#include "history/undoignoreservice.h"
#include "naming/builtinextensions.h"
#include "naming/filerenamer.h"
#include "naming/patternmetadatareader.h"
#include "platform/canonicalpath.h"
#include "platform/filemover.h"
#include "platform/logcategories.h"
#include "workflows/analysisrenderinput.h"

namespace Nomly {

namespace {

// Each write stands alone and none may stop the rename: a file system
// without attributes refuses them all, and the record is stored regardless.
void writeMetadata(const QString &path, const ImageAnalysis &analysis, const EffectiveAnalysisSettings &settings)
{
    if (settings.addFinderTags && !analysis.tags.isEmpty())
        (void)MetadataService::writeTags(path, analysis.tags);
    if (settings.addSpotlightMetadata) {
        if (!analysis.description.isEmpty())
            (void)MetadataService::writeComment(path, analysis.description);
        (void)MetadataService::writeAttribute(path, QStringLiteral("title"), analysis.title.value_or(QString()));
    }
}

} // namespace

ProcessAnalyzedFileUseCase::ProcessAnalyzedFileUseCase(Database &database, UndoIgnoreService &undoIgnore)
    : m_database(database)
    , m_undoIgnore(undoIgnore)
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
    // co_await expression twice.
    auto work = QtConcurrent::run([this, path, analysis, settings, contentHash, aiProvider, source] {
        return execute(path, analysis, settings, contentHash, aiProvider, source);
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
    const QString destination = FileRenamer::destination(
        path, analysisRenderInput(settings, analysis, now, PatternMetadataReader::read(path, factOptions)));
    if (destination.isEmpty())
        return Failure { QStringLiteral("No name could be made for \"%1\"").arg(QFileInfo(path).fileName()) };

    m_undoIgnore.ignorePath(path, true);
    if (contentHash)
        m_undoIgnore.ignoreHash(*contentHash, true);

    // A name that comes out the same is no move, but the file still gets its
    // metadata and record: it has been analysed and named.
    if (canonicalPath(path) != canonicalPath(destination)) {
        if (const auto moved = FileMover::move(path, destination); !moved)
            return moved.failure();
    }
    m_undoIgnore.ignorePath(destination, true);
    writeMetadata(destination, analysis, settings);

    ProcessedFile record;
    record.originalPath = path;
    record.newPath = destination;
    record.originalName = QFileInfo(path).fileName();
    record.newName = QFileInfo(destination).fileName();
    record.title = analysis.title.value_or(QString());
    record.description = analysis.description;
    record.tags = analysis.tags.join(QStringLiteral(", "));
    record.aiProvider = aiProvider;
    record.processedAt = now.toUTC().toString(Qt::ISODate);
    record.contentHash = contentHash;
    record.metadataSnapshot = snapshot;
    record.source = source;
    const Result<qint64> id = m_database.insertProcessedFile(record);
    if (!id)
        return id.failure();
    record.id = id.value();
    return record;
}

} // namespace Nomly
