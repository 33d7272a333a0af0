#include "ai/configresponse.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <limits>

#include "settings/modelnormalization.h"

namespace Nomly {

namespace {

// Reads optional keys of one type each; a value of another type spoils the
// whole answer, as a strict decoder would.
class Reader
{
public:
    explicit Reader(QJsonObject object)
        : m_object(std::move(object))
    {}

    bool ok() const { return m_ok; }

    std::optional<QStringList> list(const QString &key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        if (!value.isArray())
            return fail();
        QStringList items;
        for (const QJsonValue &item : value.toArray()) {
            if (!item.isString())
                return fail();
            items.append(item.toString());
        }
        return items;
    }

    std::optional<int> integer(const QString &key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
        if (!value.isDouble() || std::trunc(number) != number || number < std::numeric_limits<int>::min()
            || number > std::numeric_limits<int>::max())
            return fail();
        return static_cast<int>(number);
    }

    std::optional<QString> text(const QString &key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        if (!value.isString())
            return fail();
        return value.toString();
    }

    std::optional<bool> flag(const QString &key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        if (!value.isBool())
            return fail();
        return value.toBool();
    }

private:
    std::nullopt_t fail()
    {
        m_ok = false;
        return std::nullopt;
    }

    QJsonObject m_object;
    bool m_ok = true;
};

// The answer's list first, then the built-in one, each type once.
QStringList merged(const std::optional<QStringList> &remote, const QStringList &builtIn)
{
    QStringList out;
    for (const QStringList *list : { remote ? &*remote : nullptr, &builtIn }) {
        if (!list)
            continue;
        for (const QString &extension : *list) {
            if (!out.contains(extension))
                out.append(extension);
        }
    }
    return out;
}

// Trimmed text, or the default when nothing is left.
QString trimmedOr(const std::optional<QString> &value, const QString &fallback)
{
    const QString trimmed = value.value_or(QString()).trimmed();
    return trimmed.isEmpty() ? fallback : trimmed;
}

} // namespace

std::optional<ConfigResponse> ConfigResponse::fromJson(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    Reader in(document.object());
    ConfigResponse out;
    const auto images = in.list(QStringLiteral("image_extensions"));
    if (!images)
        return std::nullopt;
    out.imageExtensions = *images;
    out.designExtensions = in.list(QStringLiteral("design_extensions"));
    out.documentExtensions = in.list(QStringLiteral("document_extensions"));
    out.videoExtensions = in.list(QStringLiteral("video_extensions"));
    out.audioExtensions = in.list(QStringLiteral("audio_extensions"));
    out.processingDelayMs = in.integer(QStringLiteral("processing_delay_ms"));
    out.maxConcurrentProcessing = in.integer(QStringLiteral("max_concurrent_processing"));
    out.batchRenameChunkSize = in.integer(QStringLiteral("batch_rename_chunk_size"));
    out.batchAnalysisLimit = in.integer(QStringLiteral("batch_analysis_limit"));
    out.aiProvider = in.text(QStringLiteral("ai_provider"));
    out.aiModel = in.text(QStringLiteral("ai_model"));
    out.byokGoogleModel = in.text(QStringLiteral("byok_google_model"));
    out.byokGeminiModel = in.text(QStringLiteral("byok_gemini_model"));
    out.byokGroqModel = in.text(QStringLiteral("byok_groq_model"));
    out.byokOpenAIModel = in.text(QStringLiteral("byok_openai_model"));
    out.byokAnthropicModel = in.text(QStringLiteral("byok_anthropic_model"));
    out.byokClaudeModel = in.text(QStringLiteral("byok_claude_model"));
    out.renamePromptDefault = in.text(QStringLiteral("rename_prompt_default"));
    out.tagPromptDefault = in.text(QStringLiteral("tag_prompt_default"));
    out.promptMaxChars = in.integer(QStringLiteral("prompt_max_chars"));
    out.pdfTextExtractionEnabled = in.flag(QStringLiteral("pdf_text_extraction_enabled"));
    if (!in.ok())
        return std::nullopt;
    return out;
}

RemoteConfig ConfigResponse::applied() const
{
    const RemoteConfig builtIn;
    RemoteConfig out;
    out.imageExtensions = merged(imageExtensions, builtIn.imageExtensions);
    out.designExtensions = merged(designExtensions, builtIn.designExtensions);
    out.documentExtensions = merged(documentExtensions, builtIn.documentExtensions);
    out.videoExtensions = merged(videoExtensions, builtIn.videoExtensions);
    out.audioExtensions = merged(audioExtensions, builtIn.audioExtensions);
    out.processingDelayMs = processingDelayMs.value_or(builtIn.processingDelayMs);
    out.maxConcurrentProcessing = maxConcurrentProcessing.value_or(builtIn.maxConcurrentProcessing);
    out.batchRenameChunkSize = batchRenameChunkSize.value_or(builtIn.batchRenameChunkSize);
    out.batchAnalysisLimit = batchAnalysisLimit.value_or(builtIn.batchAnalysisLimit);
    out.aiProvider = trimmedOr(aiProvider, builtIn.aiProvider).toLower();
    out.aiModel = aiModel.value_or(builtIn.aiModel);
    // The older key wins when both are sent, as the backend has always sent it.
    out.byokGeminiModel = trimmedOr(byokGoogleModel ? byokGoogleModel : byokGeminiModel, builtIn.byokGeminiModel);
    out.byokGroqModel = normalizedModelId(byokGroqModel, AIProvider::Groq).value_or(builtIn.byokGroqModel);
    out.byokOpenAIModel = trimmedOr(byokOpenAIModel, builtIn.byokOpenAIModel);
    out.byokClaudeModel = trimmedOr(byokAnthropicModel ? byokAnthropicModel : byokClaudeModel, builtIn.byokClaudeModel);
    out.renamePromptDefault = renamePromptDefault.value_or(QString());
    out.tagPromptDefault = tagPromptDefault.value_or(QString());
    out.promptMaxChars = promptMaxChars.value_or(builtIn.promptMaxChars);
    out.pdfTextExtractionEnabled = pdfTextExtractionEnabled.value_or(builtIn.pdfTextExtractionEnabled);
    return out;
}

} // namespace Nomly
