#include "workflows/chunkanalyzer.h"

#include <QFile>
#include <QHash>
#include <QMap>
#include <utility>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "ai/aimessagelocalizer.h"
#include "ai/aiservice.h"
#include "ai/analyzeinputpreparationservice.h"
#include "history/filehashservice.h"
#include "platform/canonicalpath.h"
#include "platform/logcategories.h"
#include "workflows/localfieldcompletion.h"

namespace Nomly {

namespace {

// The temporary files that extraction made for a chunk's inputs to render
// from (an iWork document's exported PDF). They go when the work on the chunk
// ends, however it ends: answered, failed, or a prefetch never used.
class TemporaryPreviewSources final
{
public:
    TemporaryPreviewSources() = default;

    explicit TemporaryPreviewSources(const QList<AIAnalyzeInput> &inputs)
    {
        for (const AIAnalyzeInput &input : inputs) {
            const auto *document = input.get<FileDocumentAnalysisPayload>();
            if (document && document->temporaryPreviewSourcePath)
                m_paths.append(*document->temporaryPreviewSourcePath);
        }
    }

    TemporaryPreviewSources(TemporaryPreviewSources &&other) noexcept
        : m_paths(std::exchange(other.m_paths, {}))
    {}

    TemporaryPreviewSources &operator=(TemporaryPreviewSources &&other) noexcept
    {
        std::swap(m_paths, other.m_paths);
        return *this;
    }

    ~TemporaryPreviewSources()
    {
        for (const QString &path : std::as_const(m_paths)) {
            if (!QFile::remove(path) && QFile::exists(path))
                qCWarning(lcProcessing).noquote() << "Could not delete temporary preview source:" << path;
        }
    }

private:
    QStringList m_paths;
};

} // namespace

struct ChunkAnalyzer::Prepared
{
    QHash<QString, QString> hashes; // by path as given
    PreparedAnalyzeInputs inputs;
    TemporaryPreviewSources temporaryFiles;
    std::optional<Result<PreparedAnalyzeRequests, AIServiceError>> requests;
};

struct ChunkAnalyzer::Prefetch
{
    QStringList paths;
    ChunkAnalysisOptions options;
    std::shared_ptr<std::atomic_bool> cancelled;
    QCoro::Task<Prepared> task;
};

ChunkAnalyzer::ChunkAnalyzer(AIService &service)
    : m_service(service)
{}

ChunkAnalyzer::~ChunkAnalyzer()
{
    // A prefetch still running ends by itself once it sees the flag; its
    // task is detached when the holder goes.
    if (m_prefetch)
        m_prefetch->cancelled->store(true);
}

QCoro::Task<> ChunkAnalyzer::cancelPrefetch()
{
    std::unique_ptr<Prefetch> prefetch = std::move(m_prefetch);
    if (!prefetch)
        co_return;
    prefetch->cancelled->store(true);
    co_await prefetch->task;
}

QCoro::Task<ChunkAnalyzer::Prepared> ChunkAnalyzer::prepare(QStringList paths,
                                                            ChunkAnalysisOptions options,
                                                            std::shared_ptr<std::atomic_bool> cancelled)
{
    Prepared prepared;
    const auto isCancelled = [cancelled] { return cancelled->load(); };
    auto hashing = QtConcurrent::run([paths, isCancelled] {
        QHash<QString, QString> hashes;
        for (const QString &path : paths) {
            if (isCancelled())
                break;
            if (const auto hash = FileHashService::hash(path))
                hashes.insert(path, *hash);
        }
        return hashes;
    });
    prepared.hashes = co_await hashing;
    if (isCancelled())
        co_return prepared;

    AnalyzeInputPreparationService::Options preparation;
    preparation.extraction = options.extraction;
    preparation.resolveSymlinks = options.resolveSymlinks;
    preparation.isCancelled = isCancelled;
    // The export uploads the whole document to the hosted backend; a user
    // who chose the local route sends nothing there, so the preview stands.
    if (!options.batch.usesLocalAI())
        preparation.iWorkExporter = &m_service.iWorkPDFExportService();
    for (auto it = prepared.hashes.cbegin(); it != prepared.hashes.cend(); ++it)
        preparation.hashes.insert(it.key(), it.value());
    auto preparing = AnalyzeInputPreparationService::prepare(paths, preparation);
    prepared.inputs = co_await preparing;
    prepared.temporaryFiles = TemporaryPreviewSources(prepared.inputs.inputs);
    if (isCancelled() || prepared.inputs.inputs.isEmpty())
        co_return prepared;

    auto building = m_service.prepareBatchRequests(prepared.inputs.inputs, options.batch);
    prepared.requests = co_await building;
    co_return prepared;
}

QCoro::Task<ChunkAnalyzer::Prepared> ChunkAnalyzer::take(const QStringList &paths, const ChunkAnalysisOptions &options)
{
    std::unique_ptr<Prefetch> prefetch = std::move(m_prefetch);
    if (prefetch && prefetch->paths == paths && prefetch->options == options) {
        Prepared prepared = co_await prefetch->task;
        if (!prepared.requests || prepared.requests->ok() || prepared.inputs.inputs.isEmpty())
            co_return prepared;
        qCWarning(lcProcessing).noquote()
            << QStringLiteral("Prefetched Cloud batch preparation failed; preparing synchronously: ")
                + prepared.requests->error();
    } else if (prefetch) {
        prefetch->cancelled->store(true);
        co_await prefetch->task;
    }
    auto preparing = prepare(paths, options, std::make_shared<std::atomic_bool>(false));
    co_return co_await preparing;
}

QCoro::Task<ChunkAnalysis> ChunkAnalyzer::analyze(QStringList paths, ChunkAnalysisOptions options, QStringList next)
{
    ChunkAnalysis result;
    QHash<QString, qsizetype> positionOf;
    for (const QString &path : std::as_const(paths)) {
        positionOf.insert(path, result.files.size());
        if (options.resolveSymlinks)
            positionOf.insert(canonicalPath(path), result.files.size());
        result.files.append(FileAnalysisOutcome { path, std::nullopt, QString(), false, std::nullopt });
    }
    const auto outcomeFor = [&](const QString &path) -> FileAnalysisOutcome * {
        const auto position = positionOf.constFind(path);
        return position == positionOf.cend() ? nullptr : &result.files[*position];
    };

    auto taking = take(paths, options);
    Prepared prepared = co_await taking;
    for (FileAnalysisOutcome &outcome : result.files) {
        outcome.contentHash = prepared.hashes.value(outcome.path);
        if (outcome.contentHash && outcome.contentHash->isEmpty())
            outcome.contentHash.reset();
    }
    for (auto it = prepared.inputs.failures.cbegin(); it != prepared.inputs.failures.cend(); ++it) {
        if (FileAnalysisOutcome *outcome = outcomeFor(it.key())) {
            outcome->error = it.value();
            outcome->preparationFailed = true;
        }
    }
    if (prepared.inputs.inputs.isEmpty())
        co_return result;

    qCInfo(lcProcessing).noquote()
        << QStringLiteral("Batch analyze: Analyzing %1 files").arg(prepared.inputs.inputs.size());
    Result<AIAnalyzeBatchResult, AIServiceError> batch = AIAnalyzeBatchResult {};
    if (prepared.requests && !prepared.requests->ok()) {
        batch = prepared.requests->failure();
    } else if (prepared.requests) {
        auto sending = m_service.sendPreparedRequests(std::move(*prepared.requests).value());
        // The next chunk's hashing, extraction and requests overlap this
        // chunk's network time.
        if (options.prefetch && !next.isEmpty()) {
            auto cancelled = std::make_shared<std::atomic_bool>(false);
            m_prefetch.reset(new Prefetch { next, options, cancelled, prepare(next, options, cancelled) });
        }
        batch = co_await sending;
    }

    for (qsizetype i = 0; i < prepared.inputs.analyzedPaths.size(); ++i) {
        FileAnalysisOutcome *outcome = outcomeFor(prepared.inputs.analyzedPaths.at(i));
        if (!outcome)
            continue;
        if (!batch) {
            outcome->error = localizedAIMessage(batch.error());
            continue;
        }
        const std::optional<ImageAnalysis> &analysis = batch.value().analyses.value(i);
        if (!analysis) {
            outcome->error = localizedAIMessage(QStringLiteral("No analysis result"));
        } else if (analysis->isFailed()) {
            outcome->error = localizedAIMessage(analysis->error.value_or(QStringLiteral("AI analysis failed")));
        } else {
            outcome->analysis
                = withLocalFields(*analysis, prepared.inputs.inputs.at(i), prepared.inputs.analyzedPaths.at(i));
        }
    }
    if (batch)
        result.effectiveProvider = batch.value().effectiveProvider;
    co_return result;
}

} // namespace Nomly
