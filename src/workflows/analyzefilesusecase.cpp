#include "workflows/analyzefilesusecase.h"

#include <QFileInfo>

#include "ai/aimessagelocalizer.h"
#include "ai/aiservice.h"
#include "ai/analyzeinputpreparationservice.h"
#include "content/localfielddetector.h"

namespace Nomly {

namespace {

std::optional<QString> textOf(const AIAnalyzeInput &input)
{
    return std::visit(
        [](const auto &payload) -> std::optional<QString> {
            if constexpr (requires { payload.text; })
                return payload.text;
            else
                return std::nullopt;
        },
        input.payload());
}

// The fields the local rules read from the file's own text, added where the
// AI gave none; a value the AI gave always stays.
ImageAnalysis withLocalFields(ImageAnalysis analysis, const AIAnalyzeInput &input, const QString &path)
{
    LocalFieldInput local;
    local.mainText = textOf(input).value_or(QString());
    local.fileName = QFileInfo(path).fileName();
    local.furtherStrings = analysis.tags;
    local.furtherStrings.prepend(analysis.description);
    local.furtherStrings.prepend(analysis.title.value_or(QString()));
    for (auto it = analysis.detectedFields.cbegin(); it != analysis.detectedFields.cend(); ++it)
        local.existingFields.insert(it.key(), it.value());
    const QHash<QString, QString> found = LocalFieldDetector::detect(local);
    for (auto it = found.cbegin(); it != found.cend(); ++it) {
        if (analysis.detectedFields.value(it.key()).trimmed().isEmpty())
            analysis.detectedFields.insert(it.key(), it.value());
    }
    return analysis;
}

} // namespace

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
