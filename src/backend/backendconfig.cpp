#include "backend/backendconfig.h"

#include <QProcessEnvironment>
#include <array>

namespace Nomly {

namespace {

struct ProviderVariables
{
    QLatin1StringView provider;
    QLatin1StringView baseUrl;
    QLatin1StringView apiKey;
};

constexpr std::array<ProviderVariables, 4> PerProvider { {
    { QLatin1StringView("openai"),
      QLatin1StringView("NOMLY_OPENAI_BASE_URL"),
      QLatin1StringView("NOMLY_OPENAI_API_KEY") },
    { QLatin1StringView("gemini"),
      QLatin1StringView("NOMLY_GEMINI_BASE_URL"),
      QLatin1StringView("NOMLY_GEMINI_API_KEY") },
    { QLatin1StringView("claude"),
      QLatin1StringView("NOMLY_ANTHROPIC_BASE_URL"),
      QLatin1StringView("NOMLY_ANTHROPIC_API_KEY") },
    { QLatin1StringView("groq"), QLatin1StringView("NOMLY_GROQ_BASE_URL"), QLatin1StringView("NOMLY_GROQ_API_KEY") },
} };

} // namespace

BackendConfig BackendConfig::fromEnvironment()
{
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const auto valueOf
        = [&environment](QLatin1StringView name) -> QString { return environment.value(name).trimmed(); };
    BackendConfig config;
    for (const ProviderVariables &variables : PerProvider) {
        if (const QString url = valueOf(variables.baseUrl); !url.isEmpty())
            config.baseUrls.insert(variables.provider, url);
        if (const QString key = valueOf(variables.apiKey); !key.isEmpty())
            config.operatorKeys.insert(variables.provider, key);
    }
    if (const QString url = valueOf(QLatin1StringView("NOMLY_OLLAMA_URL")); !url.isEmpty())
        config.ollamaEndpoint = url;
    if (const QString model = valueOf(QLatin1StringView("NOMLY_OLLAMA_MODEL")); !model.isEmpty())
        config.ollamaModel = model;
    if (const QString provider = valueOf(QLatin1StringView("NOMLY_BACKEND_PROVIDER")); !provider.isEmpty())
        config.defaultProvider = provider.toLower();
    if (const QString converter = valueOf(QLatin1StringView("NOMLY_DOCUMENT_CONVERTER")); !converter.isEmpty())
        config.documentConverter = converter;
    config.gatewayToken = valueOf(QLatin1StringView("NOMLY_BACKEND_TOKEN"));
    return config;
}

} // namespace Nomly
