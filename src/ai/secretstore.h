#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

#include <qcoro/qcorotask.h>

#include "platform/result.h"

namespace Nomly {

// Why a secret store failed, carried in Failure::code so that callers can tell
// a store that isn't there at all from one that refused this request.
enum class SecretStoreFailure
{
    // The store answered and refused: locked, access denied, broken file.
    Refused = 1,
    // No store answers at all; the caller may try another one.
    Unavailable = 2,
};

// A place for small secrets, each under a service and an account: the Secret
// Service of the desktop or, where none answers, a file only the user can read.
// Values never appear in a failure's message.
class SecretStore
{
public:
    virtual ~SecretStore() = default;

    // No value (std::nullopt) when the store holds nothing under the name.
    virtual QCoro::Task<Result<std::optional<QByteArray>>> read(QString service, QString account) = 0;
    // Replaces any value under the name.
    virtual QCoro::Task<Result<>> write(QString service, QString account, QByteArray value) = 0;
    // Succeeds when nothing was stored under the name.
    virtual QCoro::Task<Result<>> remove(QString service, QString account) = 0;

protected:
    SecretStore() = default;
    SecretStore(const SecretStore &) = delete;
    SecretStore &operator=(const SecretStore &) = delete;
};

inline bool failedWith(const Failure &failure, SecretStoreFailure kind)
{
    return failure.code == static_cast<int>(kind);
}

} // namespace Nomly
