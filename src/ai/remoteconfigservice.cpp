#include "ai/remoteconfigservice.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <memory>

#include <qcoro/qcorosignal.h>

#include "ai/configresponse.h"
#include "ai/hostedbackend.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// A reply is deleted from the event loop, never inside its own signal.
struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

} // namespace

const QString RemoteConfigService::CacheKey = QStringLiteral("remoteConfig.prod");
const QString RemoteConfigService::CacheDateKey = QStringLiteral("remoteConfigDate.prod");
const QString RemoteConfigService::FormatsMigrationKey = QStringLiteral("didMigrateSupportedFormats_iwork_design_v1");

RemoteConfigService::RemoteConfigService(
    QNetworkAccessManager &network, const HostedBackend &backend, UserDefaults &defaults, Clock clock, QObject *parent)
    : QObject(parent)
    , m_network(network)
    , m_backend(backend)
    , m_defaults(defaults)
    , m_clock(std::move(clock))
{
    if (!m_defaults.boolValue(FormatsMigrationKey)) {
        m_defaults.remove(CacheKey);
        m_defaults.remove(CacheDateKey);
        m_defaults.setValue(FormatsMigrationKey, true);
    }
    loadCache();
}

RemoteConfig RemoteConfigService::cachedConfig(const UserDefaults &defaults)
{
    if (!defaults.boolValue(FormatsMigrationKey))
        return RemoteConfig();
    const auto response = ConfigResponse::fromJson(defaults.value(CacheKey).toByteArray());
    return response ? response->applied() : RemoteConfig();
}

void RemoteConfigService::loadCache()
{
    const QByteArray cached = m_defaults.value(CacheKey).toByteArray();
    if (cached.isEmpty())
        return;
    const auto response = ConfigResponse::fromJson(cached);
    if (!response) {
        qCWarning(lcConfig).noquote() << "Ignoring a cached remote configuration that does not decode";
        return;
    }
    m_lastFetchDate = m_defaults.value(CacheDateKey).toDateTime();
    apply(response->applied());
}

void RemoteConfigService::apply(const RemoteConfig &config)
{
    if (config == m_config)
        return;
    m_config = config;
    emit configChanged();
}

QCoro::Task<> RemoteConfigService::fetch()
{
    const QDateTime now = m_clock();
    if (m_lastFetchDate.isValid() && m_lastFetchDate.secsTo(now) < CacheExpirationSeconds)
        co_return;
    const auto request = m_backend.request(BackendFunction::Config);
    if (!request) {
        // No backend is configured: the built-in and cached values are all
        // there is, which is no fault.
        qCInfo(lcConfig).noquote() << "Remote configuration not fetched:" << request.error();
        co_return;
    }
    const QPointer<RemoteConfigService> self(this);
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(m_network.get(request.value()));
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }
    if (!self)
        co_return;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (reply->error() != QNetworkReply::NoError && !status.isValid()) {
        qCWarning(lcConfig).noquote() << "Config fetch error:" << reply->errorString();
        co_return;
    }
    const int code = status.isValid() ? status.toInt() : -1;
    if (code != 200) {
        qCWarning(lcConfig).noquote() << "Config fetch failed with status:" << code;
        co_return;
    }
    const QByteArray body = reply->readAll();
    const auto response = ConfigResponse::fromJson(body);
    if (!response) {
        qCWarning(lcConfig).noquote() << "Config fetch error: the answer is not a configuration";
        co_return;
    }
    apply(response->applied());
    m_isLoaded = true;
    m_lastFetchDate = m_clock();
    m_defaults.setValue(CacheKey, body);
    m_defaults.setValue(CacheDateKey, m_lastFetchDate);
}

} // namespace Nomly
