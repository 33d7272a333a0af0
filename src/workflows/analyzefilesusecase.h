#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/analyzebatchoptions.h"
#include "content/fileextractionservice.h"
#include "workflows/chunkanalyzer.h"

namespace Nomly {

class AIService;

struct AnalyzeFilesResult
{
    QList<FileAnalysisOutcome> files; // in the order of the given paths
    // The provider the route reports it used, from the last chunk that
    // answered.
    std::optional<QString> effectiveProvider;
};

// From a list of paths to analyses, chunk after chunk (so a thousand files
// never sit in memory as previews at once), the next chunk prepared while
// one is out. Every failure stays with its file; nothing is renamed here.
class AnalyzeFilesUseCase final
{
public:
    static constexpr int DefaultChunkSize = 10;
    // The local route takes a few files per call: one model handles them in
    // turn.
    static constexpr int LocalChunkSize = 5;

    // Called with each chunk's outcomes as soon as they land.
    using ChunkDone = std::function<void(const ChunkAnalysis &chunk)>;

    AnalyzeFilesUseCase(AIService &service, ExtractionOptions extraction);

    // Floored at 1; the local route never takes more than LocalChunkSize.
    void setChunkSize(int size) { m_chunkSize = size; }

    QCoro::Task<AnalyzeFilesResult> analyze(QStringList paths, AnalyzeBatchOptions options, ChunkDone chunkDone = {});

    // The chunk size a route takes, from the configured one.
    static int chunkSizeFor(int configured, bool local);

private:
    AIService &m_service;
    ExtractionOptions m_extraction;
    int m_chunkSize = DefaultChunkSize;
};

} // namespace Nomly
