#pragma once

#include <memory>

#include "ai/secretstore.h"

namespace Nomly {

class UserDefaults;

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
    // session bus.
    static SecretStores forSession();
    static SecretStores forSession(const QString &fallbackFilePath);

    // True the first time a profile keeps its secrets in the file, so that
    // the caller tells the user once rather than at every command; records in
    // `defaults` that they were told. False whenever a Secret Service answers.
    bool fileFallbackIsNews(UserDefaults &defaults) const;
};

// Whether a Secret Service answers on the session bus.
bool secretServiceAvailable();

} // namespace Nomly
