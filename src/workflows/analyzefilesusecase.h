#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/analyzebatchoptions.h"
#include "ai/imageanalysis.h"
#include "content/fileextractionservice.h"

namespace Nomly {

class AIService;

// One file's outcome: its analysis, or the text that says why there is none.
struct FileAnalysisOutcome
{
    QString path;
    std::optional<ImageAnalysis> analysis; // present and not failed on success
    QString error;

    bool succeeded() const { return analysis && !analysis->isFailed(); }
};

struct AnalyzeFilesResult
{
    QList<FileAnalysisOutcome> files; // in the order of the given paths
    // The provider the route reports it used, from the last chunk that
    // answered.
    std::optional<QString> effectiveProvider;
};

// From paths to analyses: extraction at a bounded width, then the AI in
// chunks (so a thousand files never sit in memory as previews at once), then
// the naming fields the local rules find in the file's text where the AI left
// them out. Every failure stays with its file; nothing is renamed here.
class AnalyzeFilesUseCase final
{
public:
    static constexpr int DefaultChunkSize = 10;

    AnalyzeFilesUseCase(AIService &service, ExtractionOptions extraction);

    void setChunkSize(int size) { m_chunkSize = size; }

    QCoro::Task<AnalyzeFilesResult> analyze(QStringList paths, AnalyzeBatchOptions options);

private:
    AIService &m_service;
    ExtractionOptions m_extraction;
    int m_chunkSize = DefaultChunkSize;
};

} // namespace Nomly
