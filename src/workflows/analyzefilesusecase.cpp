#include "workflows/analyzefilesusecase.h"

#include <algorithm>

namespace Nomly {

AnalyzeFilesUseCase::AnalyzeFilesUseCase(AIService &service, ExtractionOptions extraction)
    : m_service(service)
    , m_extraction(std::move(extraction))
{}

int AnalyzeFilesUseCase::chunkSizeFor(int configured, bool local)
{
    const int size = std::max(configured, 1);
    return local ? std::min(size, LocalChunkSize) : size;
}

QCoro::Task<AnalyzeFilesResult> AnalyzeFilesUseCase::analyze(QStringList paths,
                                                             AnalyzeBatchOptions options,
                                                             ChunkDone chunkDone)
{
    ChunkAnalysisOptions chunkOptions;
    chunkOptions.prefetch = !options.usesLocalAI();
    chunkOptions.batch = std::move(options);
    chunkOptions.extraction = m_extraction;
    chunkOptions.resolveSymlinks = false;
    const qsizetype size = chunkSizeFor(m_chunkSize, chunkOptions.batch.usesLocalAI());

    ChunkAnalyzer analyzer(m_service);
    AnalyzeFilesResult result;
    for (qsizetype start = 0; start < paths.size(); start += size) {
        auto analysing = analyzer.analyze(paths.mid(start, size), chunkOptions, paths.mid(start + size, size));
        ChunkAnalysis chunk = co_await analysing;
        if (chunkDone)
            chunkDone(chunk);
        result.files.append(chunk.files);
        if (chunk.effectiveProvider)
            result.effectiveProvider = chunk.effectiveProvider;
    }
    auto cancelling = analyzer.cancelPrefetch();
    co_await cancelling;
    co_return result;
}

} // namespace Nomly
