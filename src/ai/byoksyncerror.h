#pragma once

#include <QString>

#include "platform/result.h"

namespace Nomly {

// Why a key or mode sync failed, carried in Failure::code.
enum class BYOKSyncError
{
    // The backend or the connection to it said no; the message says why.
    Server = 1,
    InvalidUrl,
    InvalidResponse,
    // The backend took the key but the keyring did not.
    KeychainSaveFailed,
    // No device secret could be kept, so nothing was sent.
    DeviceAuthentication,
};

// The failure a user reads; `serverMessage` is used by Server alone.
Failure byokSyncFailure(BYOKSyncError error, const QString &serverMessage = {});

inline bool failedWith(const Failure &failure, BYOKSyncError error)
{
    return failure.code == static_cast<int>(error);
}

} // namespace Nomly
