#pragma once

#include "ai/secretstore.h"
#include "platform/libraryversion.h"

namespace Nomly {

// Secrets in the desktop's Secret Service (gnome-keyring, KWallet), reached
// through QtKeychain without its plain-text fallback: where no Secret Service
// answers, every call fails as Unavailable and the caller chooses the file.
class KeychainSecretStore final : public SecretStore
{
public:
    KeychainSecretStore() = default;

    // QtKeychain, as built against.
    static LibraryVersion library();

    QCoro::Task<Result<std::optional<QByteArray>>> read(QString service, QString account) override;
    QCoro::Task<Result<>> write(QString service, QString account, QByteArray value) override;
    QCoro::Task<Result<>> remove(QString service, QString account) override;
};

} // namespace Nomly
