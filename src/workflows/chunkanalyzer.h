#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <atomic>
#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/analyzebatchoptions.h"
#include "ai/imageanalysis.h"
#include "ai/preparedanalyzeinputs.h"
#include "content/fileextractionservice.h"

namespace Nomly {

class AIService;

// One file's outcome: its analysis, or the text that says why there is none.
struct FileAnalysisOutcome
{
    QString path;
    std::optional<ImageAnalysis> analysis; // present and not failed on success
    QString error;
    // The file could not be read for the AI; asking again would not help.
    bool preparationFailed = false;
    std::optional<QString> contentHash;

    bool succeeded() const { return analysis && !analysis->isFailed(); }
};

struct ChunkAnalysis
{
    QList<FileAnalysisOutcome> files; // in the order of the chunk's paths
    // The provider the route reports it used, when it says.
    std::optional<QString> effectiveProvider;
};

// How a chunk is prepared and asked. Two chunks prepared alike may share a
// prefetched preparation.
struct ChunkAnalysisOptions
{
    AnalyzeBatchOptions batch;
    ExtractionOptions extraction;
    // Whether the next chunk is prepared while this one is out. Worth it
    // where the answer takes network time and the preparation is local.
    bool prefetch = false;
    // Paths are compared and hashed resolved.
    bool resolveSymlinks = true;

    bool operator==(const ChunkAnalysisOptions &) const = default;
};

// The one analysis step of every workflow: a chunk of files is hashed,
// extracted and turned into requests, asked, and each answer gets the naming
// fields the local rules find in its file. While a chunk is out, the next one
// may be prepared; a prefetch that no longer matches the chunk asked for is
// cancelled and prepared afresh. Each failure stays with its file.
//
// Lives on one thread; one analysis at a time. The service must outlive it.
class ChunkAnalyzer final
{
public:
    explicit ChunkAnalyzer(AIService &service);
    ~ChunkAnalyzer();
    ChunkAnalyzer(const ChunkAnalyzer &) = delete;
    ChunkAnalyzer &operator=(const ChunkAnalyzer &) = delete;

    // `next`, when the options allow it, is prepared while this chunk's
    // requests are out.
    QCoro::Task<ChunkAnalysis> analyze(QStringList paths, ChunkAnalysisOptions options, QStringList next = {});

    // Stops a prefetch and waits for it to wind down; call before the
    // files it holds change hands, and before the analyzer goes.
    QCoro::Task<> cancelPrefetch();

    bool hasPrefetch() const { return m_prefetch != nullptr; }

private:
    struct Prepared;
    struct Prefetch;

    QCoro::Task<Prepared> prepare(QStringList paths,
                                  ChunkAnalysisOptions options,
                                  std::shared_ptr<std::atomic_bool> cancelled);
    QCoro::Task<Prepared> take(const QStringList &paths, const ChunkAnalysisOptions &options);

    AIService &m_service;
    std::unique_ptr<Prefetch> m_prefetch;
};

} // namespace Nomly
