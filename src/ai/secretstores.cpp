#include "ai/secretstores.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <atomic>

#include "ai/filesecretstore.h"
#include "ai/keychainsecretstore.h"
#include "platform/logcategories.h"

namespace Nomly {

bool secretServiceAvailable()
{
    const QString name = QStringLiteral("org.freedesktop.secrets");
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || bus.interface() == nullptr) {
        return false;
    }
    if (bus.interface()->isServiceRegistered(name).value()) {
        return true;
    }
    const QDBusReply<QStringList> activatable = bus.interface()->activatableServiceNames();
    return activatable.isValid() && activatable.value().contains(name);
}

SecretStores SecretStores::forSession()
{
    return forSession(FileSecretStore::defaultFilePath());
}

SecretStores SecretStores::forSession(const QString &fallbackFilePath)
{
    SecretStores stores;
    if (secretServiceAvailable()) {
        stores.primary = std::make_unique<KeychainSecretStore>();
        stores.legacy = std::make_unique<FileSecretStore>(fallbackFilePath);
        return stores;
    }
    static std::atomic_bool warned = false;
    if (!warned.exchange(true)) {
        qCWarning(lcConfig).noquote() << "No Secret Service on the session bus; keeping secrets in" << fallbackFilePath
                                      << "(readable by this user only)";
    }
    stores.primary = std::make_unique<FileSecretStore>(fallbackFilePath);
    stores.usesFileFallback = true;
    return stores;
}

} // namespace Nomly
