#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// What the key sync tells the backend about the user's own key. Holds the
// device secret and the key: never logged.
struct BYOKSyncRequest
{
    QString deviceId;
    QString deviceSecret;
    // Lower-case provider name.
    QString provider;
    // Empty for a clear, and for a call that leaves the key alone.
    QString apiKey;
    std::optional<QString> byokModel;
    bool enabled = false;
    // Only `enabled` changes.
    std::optional<bool> toggleOnly;
    std::optional<bool> transientOnly;
    // Only `byokModel` changes.
    std::optional<bool> modelOnly;

    bool operator==(const BYOKSyncRequest &) const = default;
};

} // namespace Nomly
