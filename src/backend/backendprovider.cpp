#include "backend/backendprovider.h"

#include <array>

#include "ai/cloudproviderendpoint.h"

namespace Nomly {

namespace {

struct ProviderRow
{
    BackendProvider provider;
    QStringView name;
    QStringView defaultModel;
    // Where the cloud providers' addresses and display names come from.
    std::optional<AIProvider> cloud;
};

// The Groq model is the one id the application accepts for Groq, so that a
// default here and a default there name the same model.
constexpr std::array<ProviderRow, 6> Providers { {
    { BackendProvider::OpenAI, u"openai", u"gpt-4o-mini", AIProvider::OpenAI },
    { BackendProvider::Gemini, u"gemini", u"gemini-2.5-flash-lite", AIProvider::Gemini },
    { BackendProvider::Claude, u"claude", u"claude-haiku-4-5-20251001", AIProvider::Claude },
    { BackendProvider::Groq, u"groq", u"qwen/qwen3.6-27b", AIProvider::Groq },
    { BackendProvider::Ollama, u"ollama", u"", std::nullopt },
    { BackendProvider::OpenAICompatible, u"openaiCompatible", u"", AIProvider::OpenAICompatible },
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
    const ProviderRow &row = rowOf(provider);
    return row.cloud ? cloudProviderEndpoint(*row.cloud).displayName.toString() : QStringLiteral("Ollama");
}

QString providerDefaultModel(BackendProvider provider)
{
    return rowOf(provider).defaultModel.toString();
}

QString providerDefaultBaseUrl(BackendProvider provider)
{
    const ProviderRow &row = rowOf(provider);
    return row.cloud ? cloudProviderEndpoint(*row.cloud).defaultBaseUrl.toString()
                     : QStringLiteral("http://127.0.0.1:11434");
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
