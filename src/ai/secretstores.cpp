#include "ai/secretstores.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include "ai/filesecretstore.h"
#include "ai/keychainsecretstore.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// Set once the user was told that this profile keeps its secrets in the file.
const QString FileFallbackToldKey = QStringLiteral("didTellSecretsFileFallback");

} // namespace

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
    stores.primary = std::make_unique<FileSecretStore>(fallbackFilePath);
    stores.usesFileFallback = true;
    return stores;
}

bool SecretStores::fileFallbackIsNews(UserDefaults &defaults) const
{
    if (!usesFileFallback || defaults.boolValue(FileFallbackToldKey))
        return false;
    // Told even when this cannot be written: a full disk must not hide it.
    (void)defaults.setValue(FileFallbackToldKey, true);
    return true;
}

} // namespace Nomly
