#include "ai/aimessagelocalizer.h"

#include <QCoreApplication>
#include <QList>
#include <iterator>
#include <optional>

namespace Nomly {

namespace {

constexpr const char *Context = "AIMessages";

// Every English text of the AI routes and of the hosted backend that a user may
// read. %1 stands for a provider's name (or, in a few, a model or a detail)
// and is carried over into the translation.
constexpr const char *KnownTexts[] = {
    // The analysis layer.
    QT_TRANSLATE_NOOP("AIMessages", "AI service error"),
    QT_TRANSLATE_NOOP("AIMessages", "Invalid server response"),
    QT_TRANSLATE_NOOP("AIMessages", "Invalid API URL"),
    QT_TRANSLATE_NOOP("AIMessages", "No valid files to analyze"),
    QT_TRANSLATE_NOOP("AIMessages", "Unsupported file type"),
    // The hosted client.
    QT_TRANSLATE_NOOP("AIMessages",
                      "Backend is not responding. If you're on Local mode, make sure the Supabase edge runtime is "
                      "running. Otherwise check your network connection."),
    QT_TRANSLATE_NOOP("AIMessages", "Backend returned HTTP %1 with no body."),
    QT_TRANSLATE_NOOP("AIMessages", "Unknown error"),
    QT_TRANSLATE_NOOP("AIMessages", "The request to the AI service timed out."),
    // The hosted backend.
    QT_TRANSLATE_NOOP("AIMessages", "Missing saved %1 BYOK key. Please save your API key again."),
    QT_TRANSLATE_NOOP("AIMessages",
                      "Groq spend limit is reached. Increase the spend limit in Groq Billing, then retry."),
    QT_TRANSLATE_NOOP("AIMessages",
                      "Claude credit balance is too low. Add credits in Anthropic Plans & Billing, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "OpenAI quota is exhausted. Add billing or credits in OpenAI, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "Gemini quota is exhausted. Check Google AI quota or billing, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "%1 analysis failed. Check your provider account and retry."),
    QT_TRANSLATE_NOOP("AIMessages", "%1 is temporarily unavailable. Wait a moment, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "%1 rejected this file because the request is too large. Try a smaller file."),
    QT_TRANSLATE_NOOP("AIMessages", "%1 request timed out. Please retry."),
    QT_TRANSLATE_NOOP("AIMessages",
                      "%1 model is not available for this API key. Check the selected BYOK model or provider access."),
    QT_TRANSLATE_NOOP("AIMessages", "Your %1 API key doesn't have the required permissions."),
    QT_TRANSLATE_NOOP("AIMessages", "Invalid %1 API key. Please double-check and try again."),
    QT_TRANSLATE_NOOP("AIMessages", "%1 is rate limiting — try again in a moment"),
    QT_TRANSLATE_NOOP("AIMessages", "%1 analysis failed. Please try again."),
    QT_TRANSLATE_NOOP("AIMessages", "The API key was rejected. Save a valid API key, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "Incorrect API key provided"),
    QT_TRANSLATE_NOOP("AIMessages", "Audio transcription requires Groq or OpenAI."),
    QT_TRANSLATE_NOOP("AIMessages", "Audio content missing"),
    QT_TRANSLATE_NOOP("AIMessages", "Image data missing"),
    QT_TRANSLATE_NOOP("AIMessages", "Text content missing"),
    QT_TRANSLATE_NOOP("AIMessages", "No analysis result"),
    QT_TRANSLATE_NOOP("AIMessages", "AI analysis failed"),
    // The user's own OpenAI-compatible server, through the backend.
    QT_TRANSLATE_NOOP("AIMessages", "No address is set for the OpenAI-compatible server."),
    QT_TRANSLATE_NOOP("AIMessages", "This backend does not call servers that clients name."),
    QT_TRANSLATE_NOOP("AIMessages", "Choose a model of the OpenAI-compatible server."),
    // The local route.
    QT_TRANSLATE_NOOP("AIMessages", "Local AI model is not configured"),
    QT_TRANSLATE_NOOP("AIMessages", "Local AI request failed"),
    QT_TRANSLATE_NOOP("AIMessages", "Local AI returned invalid JSON"),
    QT_TRANSLATE_NOOP("AIMessages",
                      "Ollama model \"%1\" is not installed. Pull it in Ollama or choose an installed model."),
    QT_TRANSLATE_NOOP("AIMessages",
                      "Ollama rejected the request. Check the configured model and endpoint, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama endpoint rejected the request. Check endpoint access, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama is busy. Wait a moment, then retry."),
    QT_TRANSLATE_NOOP("AIMessages",
                      "Ollama failed while running the model. Restart Ollama or choose a smaller model, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama request timed out. Try again or choose a smaller model."),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama analysis failed. Check the endpoint and model, then retry."),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama analysis failed: %1"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama returned an invalid response"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama endpoint URL is invalid"),
    QT_TRANSLATE_NOOP("AIMessages", "Network connection to Ollama was lost"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama connection failed. Check the endpoint and retry."),
    // Finding a local Ollama.
    QT_TRANSLATE_NOOP("AIMessages", "Ollama is unavailable"),
    QT_TRANSLATE_NOOP("AIMessages", "No models installed"),
    QT_TRANSLATE_NOOP("AIMessages", "Choose a model"),
    QT_TRANSLATE_NOOP("AIMessages", "Model not found: %1"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama is not installed"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama is not running"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama is not running at this endpoint"),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama did not respond in time"),
    QT_TRANSLATE_NOOP("AIMessages", "Install Ollama before enabling Offline AI mode."),
    QT_TRANSLATE_NOOP("AIMessages", "Start Ollama before enabling Offline AI mode."),
    QT_TRANSLATE_NOOP("AIMessages", "Ollama is unavailable. Check your setup and try again."),
    QT_TRANSLATE_NOOP("AIMessages", "Install at least one Ollama model before enabling Offline AI mode."),
};

// A known text split at its placeholder; a text without one has no suffix
// and matches only whole.
struct Pattern
{
    const char *source;
    QString prefix;
    QString suffix;
    bool hasPlaceholder;
};

QList<Pattern> buildPatterns()
{
    QList<Pattern> patterns;
    patterns.reserve(static_cast<qsizetype>(std::size(KnownTexts)));
    for (const char *source : KnownTexts) {
        const QString text = QString::fromUtf8(source);
        const qsizetype at = text.indexOf(QLatin1StringView("%1"));
        if (at < 0) {
            patterns.append({ source, text, QString(), false });
        } else {
            patterns.append({ source, text.left(at), text.mid(at + 2), true });
        }
    }
    return patterns;
}

const QList<Pattern> &patterns()
{
    static const QList<Pattern> built = buildPatterns();
    return built;
}

// The name the placeholder stands for, when `text` reads as `pattern`.
std::optional<QString> placeholderValue(const Pattern &pattern, const QString &text)
{
    const qsizetype fixed = pattern.prefix.size() + pattern.suffix.size();
    if (text.size() <= fixed || !text.startsWith(pattern.prefix) || !text.endsWith(pattern.suffix)) {
        return std::nullopt;
    }
    return text.mid(pattern.prefix.size(), text.size() - fixed);
}

} // namespace

QString localizedAIMessage(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return text;
    }
    // Whole texts first, so that a fixed sentence never reads as a pattern
    // with a provider's name in it.
    for (const Pattern &pattern : patterns()) {
        if (!pattern.hasPlaceholder && pattern.prefix == trimmed) {
            return QCoreApplication::translate(Context, pattern.source);
        }
    }
    for (const Pattern &pattern : patterns()) {
        if (!pattern.hasPlaceholder) {
            continue;
        }
        if (const std::optional<QString> name = placeholderValue(pattern, trimmed)) {
            return QCoreApplication::translate(Context, pattern.source).arg(*name);
        }
    }
    return text;
}

} // namespace Nomly
