#pragma once

#include <QNetworkAccessManager>
#include <memory>
#include <optional>

#include "ai/aiimageartifactcache.h"
#include "ai/aiservice.h"
#include "ai/deviceservice.h"
#include "ai/hostedbackend.h"
#include "ai/keycustody.h"
#include "ai/keysync.h"
#include "ai/secretstores.h"
#include "platform/result.h"

namespace Nomly {

class BackendServer;
class UserDefaults;

// The AI services of one process. The hosted route goes to the backend that
// NOMLY_BACKEND_URL names; with none named, a backend of its own runs inside
// this process on 127.0.0.1, on a port the system picks, behind a token made
// for this run, so that a user with a provider key needs no other set-up.
class AIRoute final
{
public:
    // Fails when the built-in backend cannot listen. `defaults` holds the
    // cached remote configuration and the device identifier; it, and the
    // device and keys when given, must outlive the route.
    static Result<std::unique_ptr<AIRoute>> open(UserDefaults &defaults,
                                                 DeviceService &device,
                                                 KeyCustody &keys,
                                                 bool needsHostedRoute);
    // With the device identity and keys of this session's secret stores.
    static Result<std::unique_ptr<AIRoute>> open(UserDefaults &defaults, bool needsHostedRoute);
    ~AIRoute();

    AIService &service() { return *m_service; }

    // Tells the backend of this route which key, provider and mode the user
    // chose; a new key is kept in custody only once the backend took it.
    KeySync &keySync() { return *m_keySync; }

    // Where the hosted route goes: the named backend or the built-in one.
    QString backendDescription() const;

    // The secret stores the route opened for itself; null when the caller
    // gave the device and keys.
    const SecretStores *secretStores() const { return m_stores ? &*m_stores : nullptr; }

private:
    AIRoute();

    QNetworkAccessManager m_network;
    // Only when the caller gave no device and keys of its own.
    std::optional<SecretStores> m_stores;
    std::unique_ptr<DeviceService> m_ownDevice;
    std::unique_ptr<KeyCustody> m_ownKeys;
    AIImageArtifactCache m_artifacts;
    std::unique_ptr<BackendServer> m_builtInBackend;
    std::optional<HostedBackend> m_backend;
    std::unique_ptr<AIService> m_service;
    std::unique_ptr<KeySync> m_keySync;
};

} // namespace Nomly
