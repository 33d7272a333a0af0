#include "ai/keycustody.h"

#include <QStringDecoder>

#include "ai/secretstore.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

enum class Lookup
{
    Found,
    // Nothing stored, or no store answering: worth asking the legacy store.
    Absent,
    // The store answered with an error or with bytes that are no key.
    Unreadable,
};

struct KeyLookup
{
    Lookup lookup = Lookup::Absent;
    QString key;
};

KeyLookup decodeKey(const Result<std::optional<QByteArray>> &stored, const QString &readErrorText, AIProvider provider)
{
    if (!stored) {
        if (failedWith(stored.failure(), SecretStoreFailure::Unavailable)) {
            return {};
        }
        qCWarning(lcAI).noquote() << readErrorText + rawValue(provider);
        return { Lookup::Unreadable, {} };
    }
    if (!stored.value()) {
        return {};
    }
    auto decoder = QStringDecoder(QStringDecoder::Utf8);
    QString key = decoder.decode(*stored.value());
    if (decoder.hasError()) {
        qCWarning(lcAI).noquote() << QStringLiteral("Keychain read decode error for ") + rawValue(provider);
        return { Lookup::Unreadable, {} };
    }
    return { Lookup::Found, std::move(key) };
}

} // namespace

KeyCustody::KeyCustody(SecretStore &primary, SecretStore *legacy)
    : m_primary(primary)
    , m_legacy(legacy)
{}

QString KeyCustody::account(AIProvider provider)
{
    return QStringLiteral("com.nomly.byok.") + rawValue(provider);
}

QCoro::Task<bool> KeyCustody::save(AIProvider provider, QString key)
{
    const QString name = account(provider);
    // Deleting first means a stale item never survives beside the new one;
    // "nothing to delete" is no failure.
    auto cleared = m_primary.remove(Service, name);
    co_await cleared;
    auto written = m_primary.write(Service, name, key.toUtf8());
    const Result<> primary = co_await written;
    if (primary) {
        if (m_legacy != nullptr) {
            auto moved = m_legacy->remove(Service, name);
            co_await moved;
        }
        co_return true;
    }
    if (!failedWith(primary.failure(), SecretStoreFailure::Unavailable)) {
        qCWarning(lcAI).noquote() << QStringLiteral("Data protection keychain save failed for ") + rawValue(provider);
    }
    if (m_legacy == nullptr) {
        co_return false;
    }
    auto legacyWritten = m_legacy->write(Service, name, key.toUtf8());
    const Result<> legacy = co_await legacyWritten;
    if (!legacy) {
        qCWarning(lcAI).noquote() << QStringLiteral("Legacy keychain save failed for ") + rawValue(provider);
        co_return false;
    }
    co_return true;
}

QCoro::Task<std::optional<QString>> KeyCustody::load(AIProvider provider)
{
    const QString name = account(provider);
    auto primaryRead = m_primary.read(Service, name);
    const Result<std::optional<QByteArray>> primaryStored = co_await primaryRead;
    const KeyLookup primary
        = decodeKey(primaryStored, QStringLiteral("Data protection keychain read error for "), provider);
    if (primary.lookup == Lookup::Found) {
        co_return primary.key;
    }
    if (primary.lookup == Lookup::Unreadable || m_legacy == nullptr) {
        co_return std::nullopt;
    }
    auto legacyRead = m_legacy->read(Service, name);
    const Result<std::optional<QByteArray>> legacyStored = co_await legacyRead;
    const KeyLookup legacy = decodeKey(legacyStored, QStringLiteral("Legacy keychain read error for "), provider);
    if (legacy.lookup == Lookup::Found) {
        co_return legacy.key;
    }
    co_return std::nullopt;
}

QCoro::Task<> KeyCustody::remove(AIProvider provider)
{
    const QString name = account(provider);
    auto primaryRemoved = m_primary.remove(Service, name);
    co_await primaryRemoved;
    if (m_legacy != nullptr) {
        auto legacyRemoved = m_legacy->remove(Service, name);
        co_await legacyRemoved;
    }
}

QCoro::Task<bool> KeyCustody::has(AIProvider provider)
{
    auto loaded = load(provider);
    const std::optional<QString> key = co_await loaded;
    co_return key.has_value();
}

} // namespace Nomly
