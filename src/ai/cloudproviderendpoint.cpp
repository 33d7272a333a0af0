#include "ai/cloudproviderendpoint.h"

#include <QUrl>
#include <array>

namespace Nomly {

namespace {

// In the order of AIProvider. Groq's OpenAI-compatible API sits under its
// own prefix, which is part of the base address.
constexpr std::array<CloudProviderEndpoint, 5> Endpoints { {
    { u"Google AI",
      u"https://generativelanguage.googleapis.com",
      QLatin1StringView("NOMLY_GEMINI_BASE_URL"),
      u"/v1beta/models",
      u"pageSize=1000",
      ProviderAuth::GoogleApiKey },
    { u"OpenAI",
      u"https://api.openai.com",
      QLatin1StringView("NOMLY_OPENAI_BASE_URL"),
      u"/v1/models",
      u"",
      ProviderAuth::Bearer },
    { u"Anthropic",
      u"https://api.anthropic.com",
      QLatin1StringView("NOMLY_ANTHROPIC_BASE_URL"),
      u"/v1/models",
      u"limit=1000",
      ProviderAuth::AnthropicApiKey },
    { u"Groq",
      u"https://api.groq.com/openai",
      QLatin1StringView("NOMLY_GROQ_BASE_URL"),
      u"/v1/models",
      u"",
      ProviderAuth::Bearer },
    { u"OpenAI-compatible server",
      u"",
      QLatin1StringView("NOMLY_OPENAI_COMPATIBLE_BASE_URL"),
      u"/v1/models",
      u"",
      ProviderAuth::Bearer },
} };

static_assert(int(AIProvider::Gemini) == 0 && int(AIProvider::OpenAI) == 1 && int(AIProvider::Claude) == 2
              && int(AIProvider::Groq) == 3 && int(AIProvider::OpenAICompatible) == 4);

} // namespace

const CloudProviderEndpoint &cloudProviderEndpoint(AIProvider provider)
{
    return Endpoints.at(static_cast<std::size_t>(provider));
}

QString cloudProviderBaseUrl(AIProvider provider, const QString &configured)
{
    const CloudProviderEndpoint &endpoint = cloudProviderEndpoint(provider);
    if (const QString overridden = qEnvironmentVariable(endpoint.baseUrlVariable.data()).trimmed();
        !overridden.isEmpty())
        return overridden;
    // Only the user's own server lives where the user says; a vendor's key
    // must never travel to that address.
    if (const QString chosen = configured.trimmed(); provider == AIProvider::OpenAICompatible && !chosen.isEmpty())
        return chosen;
    return endpoint.defaultBaseUrl.toString();
}

QNetworkRequest providerRequest(const QString &baseUrl, QStringView path, ProviderAuth auth, const QString &key)
{
    QString base = baseUrl.trimmed();
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    // Servers that speak a provider's protocol document their address with
    // the version ("http://127.0.0.1:1234/v1"); the provider's own is
    // documented without. Both name the same functions.
    QStringView function = path;
    const QStringView version = function.first(std::max<qsizetype>(0, function.indexOf(QLatin1Char('/'), 1)));
    if (!version.isEmpty() && base.endsWith(version, Qt::CaseInsensitive))
        function = function.sliced(version.size());
    QNetworkRequest request(QUrl(base + function));
    // Prompts, pictures, sound and keys stay out of every cache.
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    const QByteArray secret = key.toUtf8();
    switch (auth) {
    case ProviderAuth::Bearer:
        if (!secret.isEmpty())
            request.setRawHeader(QByteArrayLiteral("Authorization"), QByteArrayLiteral("Bearer ") + secret);
        break;
    case ProviderAuth::GoogleApiKey:
        request.setRawHeader(QByteArrayLiteral("x-goog-api-key"), secret);
        break;
    case ProviderAuth::AnthropicApiKey:
        request.setRawHeader(QByteArrayLiteral("x-api-key"), secret);
        request.setRawHeader(QByteArrayLiteral("anthropic-version"), QByteArrayLiteral("2023-06-01"));
        break;
    }
    return request;
}

} // namespace Nomly
