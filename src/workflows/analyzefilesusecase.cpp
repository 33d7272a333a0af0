#include "workflows/analyzefilesusecase.h"

#include <QFileInfo>

#include "ai/aimessagelocalizer.h"
#include "ai/aiservice.h"
#include "ai/analyzeinputpreparationservice.h"
#include "workflows/localfieldcompletion.h"

namespace Nomly {

AnalyzeFilesUseCase::AnalyzeFilesUseCase(AIService &service, ExtractionOptions extraction)
    : m_service(service)
    , m_extraction(std::move(extraction))
{}

QCoro::Task<AnalyzeFilesResult> AnalyzeFilesUseCase::analyze(QStringList paths, AnalyzeBatchOptions options)
{
    AnalyzeFilesResult result;
    QHash<QString, qsizetype> positionOf;
    for (const QString &path : std::as_const(paths)) {
        positionOf.insert(path, result.files.size());
        result.files.append(FileAnalysisOutcome { path, std::nullopt, QString() });
    }

    for (qsizetype start = 0; start < paths.size(); start += m_chunkSize) {
        const QStringList chunk = paths.mid(start, m_chunkSize);
        AnalyzeInputPreparationService::Options preparation;
        preparation.extraction = m_extraction;
        auto preparing = AnalyzeInputPreparationService::prepare(chunk, preparation);
        const PreparedAnalyzeInputs prepared = co_await preparing;
        for (auto it = prepared.failures.cbegin(); it != prepared.failures.cend(); ++it) {
            if (const auto position = positionOf.constFind(it.key()); position != positionOf.cend())
                result.files[*position].error = it.value();
        }
        if (prepared.inputs.isEmpty())
            continue;

        auto analysing = m_service.analyzeBatch(prepared.inputs, options);
        const Result<AIAnalyzeBatchResult, AIServiceError> batch = co_await analysing;
        for (qsizetype i = 0; i < prepared.analyzedPaths.size(); ++i) {
            const QString &path = prepared.analyzedPaths.at(i);
            const auto position = positionOf.constFind(path);
            if (position == positionOf.cend())
                continue;
            FileAnalysisOutcome &outcome = result.files[*position];
            if (!batch) {
                outcome.error = localizedAIMessage(batch.error());
                continue;
            }
            const std::optional<ImageAnalysis> &analysis = batch.value().analyses.value(i);
            if (!analysis) {
                outcome.error = localizedAIMessage(QStringLiteral("No analysis result"));
            } else if (analysis->isFailed()) {
                outcome.error = localizedAIMessage(analysis->error.value_or(QStringLiteral("No analysis result")));
            } else {
                outcome.analysis = withLocalFields(*analysis, prepared.inputs.at(i), path);
            }
        }
        if (batch && batch.value().effectiveProvider)
            result.effectiveProvider = batch.value().effectiveProvider;
    }
    co_return result;
}

} // namespace Nomly
