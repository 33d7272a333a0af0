#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The backend's answer to a key sync; every field may be missing.
struct BYOKSyncResponse
{
    std::optional<bool> success;
    std::optional<QString> message;
    std::optional<QString> error;
    std::optional<QString> aiProvider;
    std::optional<QString> byokModel;
    std::optional<bool> byokEnabled;
    // The reply had the key `byok_model`, even with null: a null clears the
    // model, a missing key leaves it alone.
    bool didReturnByokModel = false;

    bool operator==(const BYOKSyncResponse &) const = default;
};

} // namespace Nomly
