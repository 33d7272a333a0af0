#pragma once

#include <QNetworkRequest>
#include <QString>
#include <QStringView>

#include <QLatin1StringView>

#include "settings/aiprovider.h"

namespace Nomly {

// How a provider wants its key.
enum class ProviderAuth
{
    Bearer, // "Authorization: Bearer KEY"
    GoogleApiKey, // "x-goog-api-key: KEY"
    AnthropicApiKey, // "x-api-key: KEY" with the API version
};

// Where a vendor's API lives and how it is addressed: the backend calls it
// for analyses, the settings probe its model list with the user's key.
struct CloudProviderEndpoint
{
    // The name users know the service by, in messages ("Anthropic").
    QStringView displayName;
    // Empty for the user's own server, which has no address of its own.
    QStringView defaultBaseUrl;
    // The environment variable whose address replaces the default (another
    // server speaking the same protocol).
    QLatin1StringView baseUrlVariable;
    QStringView modelListPath;
    QStringView modelListQuery;
    ProviderAuth auth;
};

const CloudProviderEndpoint &cloudProviderEndpoint(AIProvider provider);

// The environment's address for the provider, else (for the user's own
// server only) the one the user configured, else the provider's own.
QString cloudProviderBaseUrl(AIProvider provider, const QString &configured = {});

// The provider's function at `path` ("/v1/models") under `baseUrl`, with the
// key where `auth` puts it; kept out of every cache. A base address given
// with the version ("http://127.0.0.1:1234/v1") names the same functions as
// one without.
QNetworkRequest providerRequest(const QString &baseUrl, QStringView path, ProviderAuth auth, const QString &key);

} // namespace Nomly
