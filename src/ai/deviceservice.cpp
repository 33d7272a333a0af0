#include "ai/deviceservice.h"

#include <QFile>
#include <QMessageAuthenticationCode>
#include <QMutexLocker>
#include <QPromise>
#include <QRandomGenerator>
#include <QUuid>
#include <algorithm>
#include <array>
#include <cctype>

#include <qcoro/qcorofuture.h>

#include "ai/secretstore.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// Keys the hash of /etc/machine-id, so that the identifier Nomly sends can't be
// matched with the one other programs on the machine see or send.
constexpr QByteArrayView DeviceIdHashKey = "Nomly device identifier, derived from the machine id, v1";

constexpr int MachineIdHexLength = 32;
constexpr int SecretBytes = 32;

QString upperUuid(const QUuid &uuid)
{
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

QString decodedText(const Result<std::optional<QByteArray>> &stored)
{
    return stored && stored.value() ? QString::fromUtf8(*stored.value()) : QString();
}

} // namespace

struct DeviceService::Claim
{
    std::optional<QString> cached;
    // Set when another caller is at work: wait for it, then claim again.
    std::optional<QFuture<void>> pending;
    // Set when this caller does the work; finishing it releases the others.
    std::shared_ptr<QPromise<void>> owned;
};

QString deviceSecretErrorText(DeviceSecretError error)
{
    switch (error) {
    case DeviceSecretError::KeychainSaveFailed:
        return QStringLiteral("Could not initialize device authentication. Please restart Nomly and try again.");
    }
    return {};
}

DeviceService::DeviceService(UserDefaults &defaults, SecretStore &primary, SecretStore *legacy, QString machineIdPath)
    : m_defaults(defaults)
    , m_primary(primary)
    , m_legacy(legacy)
    , m_machineIdPath(std::move(machineIdPath))
{}

QString DeviceService::deviceIdFromMachineId(const QByteArray &machineId)
{
    const QByteArray hex = machineId.trimmed();
    const bool allHex
        = std::all_of(hex.cbegin(), hex.cend(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); });
    const QByteArray raw = QByteArray::fromHex(hex);
    // All zeros is what an image that was never booted carries.
    if (hex.size() != MachineIdHexLength || !allHex || raw.count('\0') == raw.size()) {
        return {};
    }
    QByteArray digest
        = QMessageAuthenticationCode::hash(raw, DeviceIdHashKey.toByteArray(), QCryptographicHash::Sha256).left(16);
    // Marked as a random (version 4) UUID, which is what it looks like from outside.
    digest[6] = static_cast<char>((digest[6] & 0x0f) | 0x40);
    digest[8] = static_cast<char>((digest[8] & 0x3f) | 0x80);
    return upperUuid(QUuid::fromRfc4122(digest));
}

// QRandomGenerator::system() draws from getrandom(2) and has no failure to
// report, so there is no weaker fallback to make here.
QString DeviceService::newDeviceSecret()
{
    std::array<quint32, SecretBytes / sizeof(quint32)> words {};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    const QByteArray bytes(reinterpret_cast<const char *>(words.data()), SecretBytes);
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

DeviceService::Claim DeviceService::claimDeviceId()
{
    QMutexLocker locker(&m_cacheLock);
    if (m_cachedDeviceId) {
        return { m_cachedDeviceId, {}, {} };
    }
    // A finished future left behind by an abandoned caller holds nobody up.
    if (m_deviceIdLock && !m_deviceIdLock->isFinished()) {
        return { {}, m_deviceIdLock, {} };
    }
    auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    m_deviceIdLock = promise->future();
    return { {}, {}, promise };
}

DeviceService::Claim DeviceService::claimDeviceSecret()
{
    QMutexLocker locker(&m_cacheLock);
    if (m_cachedDeviceSecret) {
        return { m_cachedDeviceSecret, {}, {} };
    }
    // A finished future left behind by an abandoned caller holds nobody up.
    if (m_deviceSecretLock && !m_deviceSecretLock->isFinished()) {
        return { {}, m_deviceSecretLock, {} };
    }
    auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    m_deviceSecretLock = promise->future();
    return { {}, {}, promise };
}

QCoro::Task<QString> DeviceService::deviceId()
{
    for (;;) {
        Claim claim = claimDeviceId();
        if (claim.cached) {
            co_return *claim.cached;
        }
        if (claim.pending) {
            co_await *claim.pending;
            continue;
        }
        auto found = findOrMakeDeviceId();
        const QString id = co_await found;
        {
            QMutexLocker locker(&m_cacheLock);
            m_cachedDeviceId = id;
            m_deviceIdLock.reset();
        }
        claim.owned->finish();
        co_return id;
    }
}

QCoro::Task<Result<QString>> DeviceService::deviceSecret()
{
    for (;;) {
        Claim claim = claimDeviceSecret();
        if (claim.cached) {
            co_return *claim.cached;
        }
        if (claim.pending) {
            // A failed attempt caches nothing, so this caller then tries itself.
            co_await *claim.pending;
            continue;
        }
        auto found = findOrMakeDeviceSecret();
        Result<QString> secret = co_await found;
        {
            QMutexLocker locker(&m_cacheLock);
            if (secret) {
                m_cachedDeviceSecret = secret.value();
            }
            m_deviceSecretLock.reset();
        }
        claim.owned->finish();
        co_return secret;
    }
}

QCoro::Task<QString> DeviceService::findOrMakeDeviceId()
{
    QFile machineIdFile(m_machineIdPath);
    if (machineIdFile.open(QIODevice::ReadOnly)) {
        const QString fromMachine = deviceIdFromMachineId(machineIdFile.read(64));
        if (!fromMachine.isEmpty()) {
            m_defaults.setValue(DeviceIdKey, fromMachine);
            qCInfo(lcDevice) << "Device ID loaded from hardware UUID";
            co_return fromMachine;
        }
    }
    const QString fromDefaults = m_defaults.value(DeviceIdKey).toString().toUpper();
    if (!fromDefaults.isEmpty()) {
        qCInfo(lcDevice) << "Device ID loaded from UserDefaults";
        co_return fromDefaults;
    }
    auto primaryRead = m_primary.read(ServiceName, DeviceIdKey);
    const Result<std::optional<QByteArray>> primaryStored = co_await primaryRead;
    QString fromStore = decodedText(primaryStored).toUpper();
    if (fromStore.isEmpty() && m_legacy != nullptr) {
        auto legacyRead = m_legacy->read(ServiceName, DeviceIdKey);
        const Result<std::optional<QByteArray>> legacyStored = co_await legacyRead;
        fromStore = decodedText(legacyStored).toUpper();
    }
    if (!fromStore.isEmpty()) {
        co_return fromStore;
    }
    const QString made = upperUuid(QUuid::createUuid());
    m_defaults.setValue(DeviceIdKey, made);
    auto written = m_primary.write(ServiceName, DeviceIdKey, made.toUtf8());
    const Result<> stored = co_await written;
    if (!stored && m_legacy != nullptr) {
        auto legacyWritten = m_legacy->write(ServiceName, DeviceIdKey, made.toUtf8());
        co_await legacyWritten;
    }
    co_return made;
}

QCoro::Task<Result<QString>> DeviceService::findOrMakeDeviceSecret()
{
    const Failure refused { deviceSecretErrorText(DeviceSecretError::KeychainSaveFailed),
                            static_cast<int>(DeviceSecretError::KeychainSaveFailed) };

    auto primaryRead = m_primary.read(ServiceName, DeviceSecretKey);
    const Result<std::optional<QByteArray>> primaryStored = co_await primaryRead;
    bool refusedRead = false;
    if (!primaryStored && !failedWith(primaryStored.failure(), SecretStoreFailure::Unavailable)) {
        qCWarning(lcDevice).noquote() << QStringLiteral("Data protection keychain read error: ")
                + primaryStored.failure().message;
        refusedRead = true;
    }
    QString secret = decodedText(primaryStored);
    if (secret.isEmpty() && !refusedRead && m_legacy != nullptr) {
        auto legacyRead = m_legacy->read(ServiceName, DeviceSecretKey);
        const Result<std::optional<QByteArray>> legacyStored = co_await legacyRead;
        if (!legacyStored) {
            qCWarning(lcDevice).noquote()
                << QStringLiteral("Legacy keychain read error: ") + legacyStored.failure().message;
            refusedRead = true;
        }
        secret = decodedText(legacyStored);
    }
    if (!secret.isEmpty()) {
        co_return secret;
    }
    // A store that refused to answer may still hold this device's secret; a new
    // one saved over it would lose it for good.
    if (refusedRead) {
        qCWarning(lcDevice) << "Refusing to use transient device secret because Keychain persistence failed";
        co_return refused;
    }

    secret = newDeviceSecret();
    auto written = m_primary.write(ServiceName, DeviceSecretKey, secret.toUtf8());
    const Result<> primarySaved = co_await written;
    if (primarySaved) {
        co_return secret;
    }
    if (!failedWith(primarySaved.failure(), SecretStoreFailure::Unavailable)) {
        qCWarning(lcDevice).noquote() << QStringLiteral("Data protection keychain save error: ")
                + primarySaved.failure().message;
    }
    if (m_legacy != nullptr) {
        auto legacyWritten = m_legacy->write(ServiceName, DeviceSecretKey, secret.toUtf8());
        const Result<> legacySaved = co_await legacyWritten;
        if (legacySaved) {
            co_return secret;
        }
        qCWarning(lcDevice).noquote() << QStringLiteral("Legacy keychain save error: ") + legacySaved.failure().message;
    }
    qCWarning(lcDevice) << "Refusing to use transient device secret because Keychain persistence failed";
    co_return refused;
}

} // namespace Nomly
