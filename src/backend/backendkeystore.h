#pragma once

#include <QMap>
#include <QString>
#include <optional>

#include "ai/byoksyncrequest.h"
#include "ai/byoksyncresponse.h"
#include "ai/ollamasyncrequest.h"
#include "ai/ollamasyncresponse.h"
#include "backend/backendprovider.h"
#include "platform/result.h"

namespace Nomly {

// What the key sync told the backend, per device: the user's keys and models
// by provider, whether the user's key is in use, and whether Offline AI mode
// is on. A device is known by its secret from its first sync on; a call with
// another secret changes and reveals nothing. Everything lives in memory
// only: no key reaches the disk, and after a restart the clients' next sync
// (or the key each analysis carries) brings them back.
class BackendKeyStore final
{
public:
    struct SavedKey
    {
        QString apiKey;
        std::optional<QString> model;

        bool operator==(const SavedKey &) const = default;
    };

    BackendKeyStore() = default;
    BackendKeyStore(const BackendKeyStore &) = delete;
    BackendKeyStore &operator=(const BackendKeyStore &) = delete;

    // Fails with code 403 for a device secret other than the known one and
    // 400 for an unknown provider.
    Result<BYOKSyncResponse> apply(const BYOKSyncRequest &request);
    Result<OllamaSyncResponse> apply(const OllamaSyncRequest &request);

    // None for an unknown device, a wrong secret or no key.
    std::optional<SavedKey> savedKey(const QString &deviceId,
                                     const QString &deviceSecret,
                                     BackendProvider provider) const;
    // The provider the device's last key sync named.
    std::optional<BackendProvider> chosenProvider(const QString &deviceId, const QString &deviceSecret) const;

private:
    struct ProviderEntry
    {
        QString apiKey;
        std::optional<QString> model;
    };

    struct Device
    {
        QString secretHash;
        QString provider;
        bool byokEnabled = false;
        bool ollamaEnabled = false;
        QMap<QString, ProviderEntry> entries;
    };

    Device *authenticated(const QString &deviceId, const QString &deviceSecret);
    const Device *known(const QString &deviceId, const QString &deviceSecret) const;
    QMap<QString, Device> m_devices;
};

} // namespace Nomly
