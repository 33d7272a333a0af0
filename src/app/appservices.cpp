#include "app/appservices.h"

#include <QNetworkAccessManager>
#include <mutex>
#include <optional>

#include "ai/deviceservice.h"
#include "ai/filesecretstore.h"
#include "ai/hostedbackend.h"
#include "ai/keycustody.h"
#include "ai/remoteconfigservice.h"
#include "ai/secretstores.h"
#include "app/bookmarkservice.h"
#include "app/networkservice.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "platform/datalocations.h"
#include "platform/diagnostics.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// Builds each service on first use, after the ones it needs. Looking for a
// Secret Service costs a round trip on the session bus, so a launch that never
// touches a secret never pays it.
class ServiceHolder final
{
public:
    ServiceHolder() = default;
    ServiceHolder(const ServiceHolder &) = delete;
    ServiceHolder &operator=(const ServiceHolder &) = delete;

    // Built on first use, once, whichever thread asks first.
    template<typename T, typename Make> T &lazily(std::unique_ptr<T> &slot, Make make)
    {
        const std::lock_guard lock(m_mutex);
        if (!slot)
            slot = make();
        return *slot;
    }

    UserDefaults &userDefaults()
    {
        return lazily(m_userDefaults, [&] { return std::make_unique<UserDefaults>(); });
    }

    NetworkService &network()
    {
        return lazily(m_network, [&] { return std::make_unique<NetworkService>(); });
    }

    BookmarkService &bookmarks()
    {
        return lazily(m_bookmarks, [&] { return std::make_unique<BookmarkService>(userDefaults()); });
    }

    UndoIgnoreService &undoIgnore()
    {
        return lazily(m_undoIgnore, [&] { return std::make_unique<UndoIgnoreService>(); });
    }

    Diagnostics &diagnostics()
    {
        return lazily(m_diagnostics, [&] { return std::make_unique<Diagnostics>(DataLocations::dataDirectory()); });
    }

    DeviceService &device()
    {
        const std::lock_guard lock(m_mutex);
        if (!m_device) {
            SecretStores &stores = secretStores();
            m_device = std::make_unique<DeviceService>(userDefaults(), *stores.primary, stores.legacy.get());
        }
        return *m_device;
    }

    KeyCustody *keys()
    {
        const std::lock_guard lock(m_mutex);
        if (!m_keys) {
            SecretStores &stores = secretStores();
            m_keys = std::make_unique<KeyCustody>(*stores.primary, stores.legacy.get());
        }
        return m_keys.get();
    }

    // Main thread only, like the network access it uses.
    RemoteConfigService &remoteConfig()
    {
        return lazily(m_remoteConfig, [&] {
            m_networkAccess = std::make_unique<QNetworkAccessManager>();
            m_backend = std::make_unique<HostedBackend>(HostedBackend::fromEnvironment());
            return std::make_unique<RemoteConfigService>(*m_networkAccess, *m_backend, userDefaults());
        });
    }

private:
    SecretStores &secretStores()
    {
        if (!m_secretStores) {
            m_secretStores = SecretStores::forSession();
            // Once per profile: at every launch it would only be noise.
            if (m_secretStores->fileFallbackIsNews(userDefaults())) {
                qCWarning(lcConfig).noquote() << "No Secret Service answers on this session; keys are kept in"
                                              << FileSecretStore::defaultFilePath() << "(readable by this user only)";
            }
        }
        return *m_secretStores;
    }

    // Recursive: a service takes the lock again to reach those it is built on.
    std::recursive_mutex m_mutex;
    // Declared before their users, so destroyed after them.
    std::unique_ptr<UserDefaults> m_userDefaults;
    std::optional<SecretStores> m_secretStores;
    std::unique_ptr<NetworkService> m_network;
    std::unique_ptr<BookmarkService> m_bookmarks;
    std::unique_ptr<UndoIgnoreService> m_undoIgnore;
    std::unique_ptr<Diagnostics> m_diagnostics;
    std::unique_ptr<DeviceService> m_device;
    std::unique_ptr<KeyCustody> m_keys;
    std::unique_ptr<QNetworkAccessManager> m_networkAccess;
    std::unique_ptr<HostedBackend> m_backend;
    std::unique_ptr<RemoteConfigService> m_remoteConfig;
};

} // namespace

AppServices defaultAppServices()
{
    auto holder = std::make_shared<ServiceHolder>();
    AppServices services;
    services.networkProvider = [holder]() -> NetworkService & { return holder->network(); };
    services.bookmarksProvider = [holder]() -> BookmarkService & { return holder->bookmarks(); };
    services.deviceProvider = [holder]() -> DeviceService & { return holder->device(); };
    services.userDefaultsProvider = [holder]() -> UserDefaults & { return holder->userDefaults(); };
    services.undoIgnoreProvider = [holder]() -> UndoIgnoreService & { return holder->undoIgnore(); };
    services.diagnosticsProvider = [holder]() -> Diagnostics & { return holder->diagnostics(); };
    services.keysProvider = [holder] { return holder->keys(); };
    services.remoteConfigProvider = [holder] { return &holder->remoteConfig(); };
    services.dataDirectoryProvider = [] { return DataLocations::dataDirectory(); };
    services.databaseOpener = [](const QString &directory) { return Database::open(directory); };
    return services;
}

} // namespace Nomly
