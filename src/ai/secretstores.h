#pragma once

#include <memory>

#include "ai/secretstore.h"

namespace Nomly {

// The stores this session keeps secrets in. With a Secret Service on the
// session bus, it is the primary store and the mode-0600 file is the legacy
// one: secrets written there while no Secret Service answered are still found,
// and move over at their next save. Without one, the file is the only store.
struct SecretStores
{
    std::unique_ptr<SecretStore> primary;
    // Null when the file is the primary store.
    std::unique_ptr<SecretStore> legacy;
    // True when secrets live in the file; `nomly keys` says so.
    bool usesFileFallback = false;

    // Looks for an owner of, or an activatable, org.freedesktop.secrets on the
    // session bus, and warns once per process when there is none.
    static SecretStores forSession();
    static SecretStores forSession(const QString &fallbackFilePath);
};

// Whether a Secret Service answers on the session bus.
bool secretServiceAvailable();

} // namespace Nomly
