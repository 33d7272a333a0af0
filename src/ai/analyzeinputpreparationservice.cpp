#include "ai/analyzeinputpreparationservice.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "platform/canonicalpath.h"

namespace Nomly::AnalyzeInputPreparationService {

namespace {

const QString UnsupportedFileType = QStringLiteral("Unsupported file type");

// One extraction, started on the thread that awaits the batch.
using Extraction = std::function<QCoro::Task<FileExtractionResult>(QString path, ExtractionOptions options)>;

QCoro::Task<FileExtractionResult> onWorker(Extractor extractor, QString path, ExtractionOptions options)
{
    auto extracting
        = QtConcurrent::run([extractor = std::move(extractor), path, options] { return extractor(path, options); });
    co_return co_await extracting;
}

// What the lanes share. Only the thread that awaits them touches it, since
// each lane resumes there after its extraction.
struct Batch
{
    QStringList paths;
    ExtractionOptions options;
    Extraction extraction;
    std::function<bool()> isCancelled;
    qsizetype next = 0;
    std::vector<std::optional<FileExtractionResult>> results;
};

// One lane: takes the next path whenever its previous one is done, so that
// the number of lanes is the number of extractions at once.
QCoro::Task<> runLane(Batch &batch)
{
    while (batch.next < batch.paths.size()) {
        if (batch.isCancelled && batch.isCancelled())
            co_return;
        const qsizetype index = batch.next++;
        auto extracting = batch.extraction(batch.paths.at(index), batch.options);
        batch.results[std::size_t(index)] = co_await extracting;
    }
}

// Images are the one kind the image cache keys by content hash.
AIAnalyzeInput withKnownHash(const AIAnalyzeInput &input, const QString &path, const QMap<QString, QString> &hashes)
{
    const auto *image = input.get<FileImageAnalysisPayload>();
    if (!image || image->contentHash)
        return input;
    FileImageAnalysisPayload payload = *image;
    if (const auto own = hashes.constFind(path); own != hashes.cend())
        payload.contentHash = *own;
    else if (const auto original = hashes.constFind(image->originalPath); original != hashes.cend())
        payload.contentHash = *original;
    return payload;
}

QCoro::Task<PreparedAnalyzeInputs> prepareWith(QStringList paths, Options options, Extraction extraction)
{
    if (options.resolveSymlinks) {
        for (QString &path : paths)
            path = canonicalPath(path);
        QMap<QString, QString> resolved;
        for (auto it = options.hashes.cbegin(); it != options.hashes.cend(); ++it)
            resolved.insert(canonicalPath(it.key()), it.value());
        options.hashes = std::move(resolved);
    }

    PreparedAnalyzeInputs prepared;
    if (paths.isEmpty())
        co_return prepared;

    Batch batch { paths, options.extraction, std::move(extraction), options.isCancelled, 0, {} };
    batch.results.resize(std::size_t(paths.size()));
    const qsizetype width = std::max<qsizetype>(1, std::min<qsizetype>(options.maximumWidth, paths.size()));
    std::vector<QCoro::Task<>> lanes;
    lanes.reserve(std::size_t(width));
    for (qsizetype lane = 0; lane < width; ++lane)
        lanes.push_back(runLane(batch));
    for (QCoro::Task<> &lane : lanes)
        co_await lane;

    // The results sit at their path's index, so this walk is already in
    // the order of the given paths.
    for (qsizetype index = 0; index < paths.size(); ++index) {
        const auto &result = batch.results[std::size_t(index)];
        if (!result)
            continue;
        const QString &path = paths.at(index);
        switch (result->kind()) {
        case FileExtractionResult::Kind::Input:
            prepared.inputs.append(withKnownHash(*result->analyzeInput(), path, options.hashes));
            prepared.analyzedPaths.append(path);
            break;
        case FileExtractionResult::Kind::Failed:
            prepared.failures.insert(path, result->failureReason());
            break;
        case FileExtractionResult::Kind::Unsupported:
            prepared.failures.insert(path, UnsupportedFileType);
            break;
        }
    }
    co_return prepared;
}

} // namespace

QCoro::Task<PreparedAnalyzeInputs> prepare(QStringList paths, Options options, Extractor extractor)
{
    Extraction extraction = [extractor = std::move(extractor)](QString path, ExtractionOptions extractionOptions) {
        return onWorker(extractor, std::move(path), std::move(extractionOptions));
    };
    auto preparing = prepareWith(std::move(paths), std::move(options), std::move(extraction));
    co_return co_await preparing;
}

QCoro::Task<PreparedAnalyzeInputs> prepare(QStringList paths, Options options)
{
    Extraction extraction = [exporter = options.iWorkExporter](QString path, ExtractionOptions extractionOptions) {
        return FileExtractionService::extract(std::move(path), std::move(extractionOptions), exporter);
    };
    auto preparing = prepareWith(std::move(paths), std::move(options), std::move(extraction));
    co_return co_await preparing;
}

} // namespace Nomly::AnalyzeInputPreparationService
