#pragma once

#include <QString>

namespace Nomly {

// Tells the backend whether Offline AI mode is on. Holds the device secret:
// never logged.
struct OllamaSyncRequest
{
    QString deviceId;
    QString deviceSecret;
    bool enabled = false;
    bool ollamaOnly = true;

    bool operator==(const OllamaSyncRequest &) const = default;
};

} // namespace Nomly
