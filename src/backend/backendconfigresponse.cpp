#include "backend/backendconfigresponse.h"

#include <QJsonArray>

#include "ai/remoteconfig.h"
#include "backend/backendconfig.h"
#include "backend/backendprovider.h"

namespace Nomly {

QJsonObject configResponseJson(const BackendConfig &config)
{
    const RemoteConfig defaults;
    const std::optional<BackendProvider> provider = providerFromName(config.defaultProvider);
    QString model;
    if (provider == BackendProvider::Ollama)
        model = config.ollamaModel;
    else if (provider)
        model = providerDefaultModel(*provider);
    QJsonObject json {
        { QLatin1StringView("image_extensions"), QJsonArray::fromStringList(defaults.imageExtensions) },
        { QLatin1StringView("design_extensions"), QJsonArray::fromStringList(defaults.designExtensions) },
        { QLatin1StringView("document_extensions"), QJsonArray::fromStringList(defaults.documentExtensions) },
        { QLatin1StringView("video_extensions"), QJsonArray::fromStringList(defaults.videoExtensions) },
        { QLatin1StringView("audio_extensions"), QJsonArray::fromStringList(defaults.audioExtensions) },
        { QLatin1StringView("processing_delay_ms"), defaults.processingDelayMs },
        { QLatin1StringView("max_concurrent_processing"), defaults.maxConcurrentProcessing },
        { QLatin1StringView("batch_rename_chunk_size"), defaults.batchRenameChunkSize },
        { QLatin1StringView("batch_analysis_limit"), defaults.batchAnalysisLimit },
        { QLatin1StringView("ai_provider"), provider ? providerName(*provider) : defaults.aiProvider },
        { QLatin1StringView("byok_gemini_model"), providerDefaultModel(BackendProvider::Gemini) },
        { QLatin1StringView("byok_openai_model"), providerDefaultModel(BackendProvider::OpenAI) },
        { QLatin1StringView("byok_claude_model"), providerDefaultModel(BackendProvider::Claude) },
        { QLatin1StringView("byok_groq_model"), providerDefaultModel(BackendProvider::Groq) },
        { QLatin1StringView("prompt_max_chars"), defaults.promptMaxChars },
        { QLatin1StringView("pdf_text_extraction_enabled"), defaults.pdfTextExtractionEnabled },
    };
    if (!model.isEmpty())
        json.insert(QLatin1StringView("ai_model"), model);
    return json;
}

} // namespace Nomly
