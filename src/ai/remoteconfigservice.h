#pragma once

#include <QDateTime>
#include <QObject>
#include <functional>

#include <qcoro/qcorotask.h>

#include "ai/remoteconfig.h"

class QNetworkAccessManager;

namespace Nomly {

class HostedBackend;
class UserDefaults;

// The remote configuration: the built-in values, then the cached answer of
// the hosted backend, then a fresh one once a fetch succeeds. Nothing here
// reaches the user: a failed fetch is logged and the values in use stand.
// Lives on the main thread; the values change only there.
class RemoteConfigService final : public QObject
{
    Q_OBJECT

public:
    static const QString CacheKey;
    static const QString CacheDateKey;
    static const QString FormatsMigrationKey;
    // A fetch younger than this is not repeated.
    static constexpr qint64 CacheExpirationSeconds = 600;

    using Clock = std::function<QDateTime()>;

    // Loads the cache. A cache written before the current file types existed
    // is dropped once, so that it cannot hide the built-in lists.
    RemoteConfigService(QNetworkAccessManager &network,
                        const HostedBackend &backend,
                        UserDefaults &defaults,
                        Clock clock = &QDateTime::currentDateTimeUtc,
                        QObject *parent = nullptr);

    // The values a service would start from, read without changing the
    // defaults file: the cache when it is current, else the built-in ones.
    static RemoteConfig cachedConfig(const UserDefaults &defaults);

    const RemoteConfig &config() const { return m_config; }

    // True once a fetch has succeeded in this run.
    bool isLoaded() const { return m_isLoaded; }

    // The moment of the last successful fetch, from this run or the cache.
    QDateTime lastFetchDate() const { return m_lastFetchDate; }

    // Asks the backend for its values unless the last fetch is recent.
    QCoro::Task<> fetch();

Q_SIGNALS:
    void configChanged();

private:
    void loadCache();
    void apply(const RemoteConfig &config);

    QNetworkAccessManager &m_network;
    const HostedBackend &m_backend;
    UserDefaults &m_defaults;
    Clock m_clock;
    RemoteConfig m_config;
    bool m_isLoaded = false;
    QDateTime m_lastFetchDate;
};

} // namespace Nomly
