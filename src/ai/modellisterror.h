#pragma once

#include <QString>

namespace Nomly {

// Why a provider's model list could not be had.
struct ModelListError
{
    enum class Kind
    {
        ProviderStatus,
        MissingApiKey,
        InvalidRequest,
        InvalidResponse,
    };

    Kind kind = Kind::InvalidResponse;
    // For a status: the provider's name and the HTTP status (0 when no
    // answer came).
    QString provider;
    int status = 0;

    QString text() const
    {
        switch (kind) {
        case Kind::ProviderStatus:
            return QStringLiteral("%1 returned status %2").arg(provider).arg(status);
        case Kind::MissingApiKey:
            return QStringLiteral("Save an API key first");
        case Kind::InvalidRequest:
            return QStringLiteral("Invalid request URL");
        case Kind::InvalidResponse:
            return QStringLiteral("Invalid model list response");
        }
        return {};
    }

    bool operator==(const ModelListError &) const = default;
};

} // namespace Nomly
