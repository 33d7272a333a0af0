#pragma once

#include <QNetworkRequest>
#include <QString>
#include <QUrl>
#include <chrono>

#include "platform/result.h"

namespace Nomly {

// The four function paths of the hosted backend.
enum class BackendFunction
{
    Config,
    SaveApiKey,
    Analyze,
    IWorkExport,
};

// What every caller of the hosted backend shares: where it is, how a call
// identifies the application (the gateway token, the same for every
// installation) and how long each function may take. Device identity travels
// in the bodies, not here.
class HostedBackend final
{
public:
    static inline const QString BaseUrlVariable = QStringLiteral("NOMLY_BACKEND_URL");
    // The gateway token of the backend that NOMLY_BACKEND_URL names.
    static inline const QString TokenVariable = QStringLiteral("NOMLY_BACKEND_TOKEN");
    // The largest document the export function accepts.
    static constexpr qint64 MaxIWorkExportBytes = 52'428'800;

    // `configuredBaseUrl` is the setting; the environment variable wins over it.
    HostedBackend(QString configuredBaseUrl, QString gatewayToken);
    // The backend the environment names, with its token; no base URL when
    // none is named.
    static HostedBackend fromEnvironment();

    static QString path(BackendFunction function);
    static QByteArray method(BackendFunction function);
    static std::chrono::milliseconds timeout(BackendFunction function);

    // Fails when neither the environment nor the setting names a usable
    // http(s) URL.
    Result<QUrl> baseUrl() const;
    // The request for a function: its URL, time-out, gateway Authorization
    // header and, for JSON bodies, the content type.
    Result<QNetworkRequest> request(BackendFunction function) const;

    // The token every call carries; a secret of the build, never logged.
    const QString &gatewayToken() const { return m_gatewayToken; }

    // The device check on an answer: a 401 whose error speaks of the device
    // means the backend refused this installation's identifier or secret.
    // Logged without the body; the caller then fails as it would on any
    // other refusal. True when it was such a refusal.
    static bool isDeviceRefusal(int status, const QByteArray &body);

private:
    QString m_configuredBaseUrl;
    QString m_gatewayToken;
};

} // namespace Nomly
