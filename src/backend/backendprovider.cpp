#include "backend/backendprovider.h"

#include <array>

namespace Nomly {

namespace {

struct ProviderRow
{
    BackendProvider provider;
    QStringView name;
    QStringView displayName;
    QStringView defaultModel;
    QStringView defaultBaseUrl;
};

// The Groq model is the one id the application accepts for Groq, so that a
// default here and a default there name the same model.
constexpr std::array<ProviderRow, 5> Providers { {
    { BackendProvider::OpenAI, u"openai", u"OpenAI", u"gpt-4o-mini", u"https://api.openai.com" },
    { BackendProvider::Gemini,
      u"gemini",
      u"Google AI",
      u"gemini-2.5-flash-lite",
      u"https://generativelanguage.googleapis.com" },
    { BackendProvider::Claude, u"claude", u"Anthropic", u"claude-haiku-4-5-20251001", u"https://api.anthropic.com" },
    { BackendProvider::Groq, u"groq", u"Groq", u"qwen/qwen3.6-27b", u"https://api.groq.com/openai" },
    { BackendProvider::Ollama, u"ollama", u"Ollama", u"", u"http://127.0.0.1:11434" },
} };

const ProviderRow &rowOf(BackendProvider provider)
{
    return Providers.at(static_cast<std::size_t>(provider));
}

} // namespace

QString providerName(BackendProvider provider)
{
    return rowOf(provider).name.toString();
}

QString providerDisplayName(BackendProvider provider)
{
    return rowOf(provider).displayName.toString();
}

QString providerDefaultModel(BackendProvider provider)
{
    return rowOf(provider).defaultModel.toString();
}

QString providerDefaultBaseUrl(BackendProvider provider)
{
    return rowOf(provider).defaultBaseUrl.toString();
}

std::optional<BackendProvider> providerFromName(const QString &name)
{
    const QString wanted = name.trimmed();
    for (const ProviderRow &row : Providers) {
        if (wanted.compare(row.name, Qt::CaseInsensitive) == 0)
            return row.provider;
    }
    // The makers' names, which some configurations use.
    if (wanted.compare(u"anthropic", Qt::CaseInsensitive) == 0)
        return BackendProvider::Claude;
    if (wanted.compare(u"google", Qt::CaseInsensitive) == 0)
        return BackendProvider::Gemini;
    return std::nullopt;
}

} // namespace Nomly
