#include "app/airoute.h"

#include <QHostAddress>
#include <QRandomGenerator>

#include "ai/remoteconfigservice.h"
#include "backend/backendconfig.h"
#include "backend/backendserver.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// A token nobody else knows, so that other local users cannot use the
// built-in backend while this command runs.
QString freshToken()
{
    QByteArray bytes(32, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

} // namespace

AIRoute::AIRoute()
    : m_artifacts(AIImageArtifactCache::defaultDiskDirectory())
{}

AIRoute::~AIRoute() = default;

Result<std::unique_ptr<AIRoute>> AIRoute::open(UserDefaults &defaults, bool needsHostedRoute)
{
    SecretStores stores = SecretStores::forSession();
    auto device = std::make_unique<DeviceService>(defaults, *stores.primary, stores.legacy.get());
    auto keys = std::make_unique<KeyCustody>(*stores.primary, stores.legacy.get());
    Result<std::unique_ptr<AIRoute>> route = open(defaults, *device, *keys, needsHostedRoute);
    if (route) {
        route.value()->m_stores = std::move(stores);
        route.value()->m_ownDevice = std::move(device);
        route.value()->m_ownKeys = std::move(keys);
    }
    return route;
}

Result<std::unique_ptr<AIRoute>> AIRoute::open(UserDefaults &defaults,
                                               DeviceService &device,
                                               KeyCustody &keys,
                                               bool needsHostedRoute)
{
    std::unique_ptr<AIRoute> route(new AIRoute());
    HostedBackend named = HostedBackend::fromEnvironment();
    if (named.baseUrl() || !needsHostedRoute) {
        route->m_backend = std::move(named);
    } else {
        BackendConfig config = BackendConfig::fromEnvironment();
        config.gatewayToken = freshToken();
        config.callsClientServers = true;
        route->m_builtInBackend = std::make_unique<BackendServer>(config);
        if (!route->m_builtInBackend->listen(QHostAddress::LocalHost, 0)) {
            return Failure {
                QStringLiteral("could not start the built-in backend: %1").arg(route->m_builtInBackend->errorString())
            };
        }
        route->m_backend = HostedBackend(
            QStringLiteral("http://127.0.0.1:%1").arg(route->m_builtInBackend->serverPort()), config.gatewayToken);
    }
    route->m_service = std::make_unique<AIService>(
        route->m_network, *route->m_backend, device, keys, route->m_artifacts, [&defaults] {
            return RemoteConfigService::cachedConfig(defaults).aiProvider;
        });
    route->m_keySync = std::make_unique<KeySync>(route->m_network, *route->m_backend, device, keys);
    return route;
}

QString AIRoute::backendDescription() const
{
    if (m_builtInBackend)
        return QStringLiteral("built-in backend");
    const Result<QUrl> url = m_backend->baseUrl();
    return url ? url.value().toString(QUrl::RemoveUserInfo) : QStringLiteral("no backend");
}

} // namespace Nomly
