#pragma once

#include <QString>
#include <optional>

#include <qcoro/qcorotask.h>

#include "settings/aiprovider.h"

namespace Nomly {

class SecretStore;

// The user's own provider keys, one secret per provider under the service
// "com.nomly.apikeys". Reads never ask the user anything; a key that cannot be
// read counts as no key. Keys never reach the log: only provider names do.
class KeyCustody final
{
public:
    // `legacy` is where earlier sessions may have kept keys; it is read when the
    // primary store has nothing, and emptied once the primary store holds a key.
    explicit KeyCustody(SecretStore &primary, SecretStore *legacy = nullptr);
    KeyCustody(const KeyCustody &) = delete;
    KeyCustody &operator=(const KeyCustody &) = delete;

    static inline const QString Service = QStringLiteral("com.nomly.apikeys");
    // "com.nomly.byok." and the provider's lower-case name.
    static QString account(AIProvider provider);

    // False when neither store took the key.
    QCoro::Task<bool> save(AIProvider provider, QString key);
    QCoro::Task<std::optional<QString>> load(AIProvider provider);
    QCoro::Task<> remove(AIProvider provider);
    QCoro::Task<bool> has(AIProvider provider);

private:
    SecretStore &m_primary;
    SecretStore *m_legacy = nullptr;
};

} // namespace Nomly
