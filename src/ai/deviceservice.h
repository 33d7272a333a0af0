#pragma once

#include <QByteArray>
#include <QFuture>
#include <QMutex>
#include <QString>
#include <optional>

#include <qcoro/qcorotask.h>

#include "platform/result.h"

namespace Nomly {

class SecretStore;
class UserDefaults;

// Carried in Failure::code by DeviceService::deviceSecret().
enum class DeviceSecretError
{
    KeychainSaveFailed = 1,
};

// The text a user reads for a failure of device authentication.
QString deviceSecretErrorText(DeviceSecretError error);

// The identifier and secret by which the hosted backend knows this
// installation. Both are made once and then kept: the identifier follows the
// machine across reinstalls, and a secret is handed out only once a store holds
// it, since a secret the next session cannot find would present the same
// device with another secret.
class DeviceService final
{
public:
    static inline const QString DeviceIdKey = QStringLiteral("com.nomly.deviceId");
    static inline const QString DeviceSecretKey = QStringLiteral("com.nomly.deviceSecret");
    static inline const QString ServiceName = QStringLiteral("com.nomly.service");
    static inline const QString MachineIdPath = QStringLiteral("/etc/machine-id");

    DeviceService(UserDefaults &defaults,
                  SecretStore &primary,
                  SecretStore *legacy = nullptr,
                  QString machineIdPath = MachineIdPath);
    DeviceService(const DeviceService &) = delete;
    DeviceService &operator=(const DeviceService &) = delete;

    // Upper-case UUID text. Callable from any thread with an event loop.
    QCoro::Task<QString> deviceId();
    // 43 characters of base64url, or DeviceSecretError::KeychainSaveFailed.
    QCoro::Task<Result<QString>> deviceSecret();

    // The identifier derived from the contents of /etc/machine-id: a keyed hash,
    // so the machine's own identifier never leaves it. Empty when the contents
    // are no machine identifier.
    static QString deviceIdFromMachineId(const QByteArray &machineId);
    // Base64url without padding of 32 random bytes.
    static QString newDeviceSecret();

private:
    struct Claim;

    Claim claimDeviceId();
    Claim claimDeviceSecret();
    QCoro::Task<QString> findOrMakeDeviceId();
    QCoro::Task<Result<QString>> findOrMakeDeviceSecret();

    UserDefaults &m_defaults;
    SecretStore &m_primary;
    SecretStore *m_legacy = nullptr;
    QString m_machineIdPath;

    // Guards the four members below, held only to copy or set them. A pending
    // future stands for the operation's lock: while one caller finds or makes
    // a value, later callers wait for it instead of making a second one, and
    // no thread blocks while a store is being asked.
    QMutex m_cacheLock;
    std::optional<QString> m_cachedDeviceId;
    std::optional<QString> m_cachedDeviceSecret;
    std::optional<QFuture<void>> m_deviceIdLock;
    std::optional<QFuture<void>> m_deviceSecretLock;
};

} // namespace Nomly
