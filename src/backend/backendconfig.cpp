#include "backend/backendconfig.h"

#include <QProcessEnvironment>
#include <array>

#include "ai/cloudproviderendpoint.h"

namespace Nomly {

namespace {

// The operator's key for each provider; the address variables are the
// ones the providers' endpoints name.
struct OperatorKeyVariable
{
    AIProvider provider;
    QLatin1StringView apiKey;
};

constexpr std::array<OperatorKeyVariable, 5> OperatorKeys { {
    { AIProvider::OpenAI, QLatin1StringView("NOMLY_OPENAI_API_KEY") },
    { AIProvider::Gemini, QLatin1StringView("NOMLY_GEMINI_API_KEY") },
    { AIProvider::Claude, QLatin1StringView("NOMLY_ANTHROPIC_API_KEY") },
    { AIProvider::Groq, QLatin1StringView("NOMLY_GROQ_API_KEY") },
    { AIProvider::OpenAICompatible, QLatin1StringView("NOMLY_OPENAI_COMPATIBLE_API_KEY") },
} };

} // namespace

BackendConfig BackendConfig::fromEnvironment()
{
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const auto valueOf
        = [&environment](QLatin1StringView name) -> QString { return environment.value(name).trimmed(); };
    BackendConfig config;
    for (const OperatorKeyVariable &variable : OperatorKeys) {
        const QString name = rawValue(variable.provider);
        if (const QString url = valueOf(cloudProviderEndpoint(variable.provider).baseUrlVariable); !url.isEmpty())
            config.baseUrls.insert(name, url);
        if (const QString key = valueOf(variable.apiKey); !key.isEmpty())
            config.operatorKeys.insert(name, key);
    }
    const QString allowed = valueOf(QLatin1StringView("NOMLY_BACKEND_CALLS_CLIENT_SERVERS"));
    config.callsClientServers = allowed == u"1" || allowed.compare(u"true", Qt::CaseInsensitive) == 0;
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
