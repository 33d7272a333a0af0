#include "backend/backendkeystore.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include "backend/backendlog.h"

namespace Nomly {

namespace {

namespace Key {
constexpr QLatin1StringView Devices("devices");
constexpr QLatin1StringView SecretHash("secret_sha256");
constexpr QLatin1StringView Provider("provider");
constexpr QLatin1StringView ByokEnabled("byok_enabled");
constexpr QLatin1StringView OllamaEnabled("ollama_enabled");
constexpr QLatin1StringView Keys("keys");
constexpr QLatin1StringView ApiKey("api_key");
constexpr QLatin1StringView Model("model");
} // namespace Key

// Only a digest of the device secret is kept, so that the store alone does
// not let anyone act as the device.
QString hashOf(const QString &secret)
{
    return QString::fromLatin1(QCryptographicHash::hash(secret.toUtf8(), QCryptographicHash::Sha256).toHex());
}

Failure wrongDevice()
{
    return Failure { QStringLiteral("Device authentication failed."), 403 };
}

std::optional<QString> trimmedModel(const std::optional<QString> &model)
{
    if (!model || model->trimmed().isEmpty())
        return std::nullopt;
    return model->trimmed();
}

} // namespace

BackendKeyStore::BackendKeyStore(QString path)
    : m_path(std::move(path))
{
    load();
}

BackendKeyStore::Device *BackendKeyStore::authenticated(const QString &deviceId, const QString &deviceSecret)
{
    if (deviceId.isEmpty() || deviceSecret.isEmpty())
        return nullptr;
    const QString hash = hashOf(deviceSecret);
    auto it = m_devices.find(deviceId);
    if (it == m_devices.end()) {
        Device device;
        device.secretHash = hash;
        it = m_devices.insert(deviceId, device);
    }
    return it->secretHash == hash ? &*it : nullptr;
}

const BackendKeyStore::Device *BackendKeyStore::known(const QString &deviceId, const QString &deviceSecret) const
{
    const auto it = m_devices.constFind(deviceId);
    if (it == m_devices.constEnd() || deviceSecret.isEmpty() || it->secretHash != hashOf(deviceSecret))
        return nullptr;
    return &*it;
}

Result<BYOKSyncResponse> BackendKeyStore::apply(const BYOKSyncRequest &request)
{
    const std::optional<BackendProvider> provider = providerFromName(request.provider);
    if (!provider || *provider == BackendProvider::Ollama)
        return Failure { QStringLiteral("Unknown provider."), 400 };
    Device *device = authenticated(request.deviceId, request.deviceSecret);
    if (!device)
        return wrongDevice();
    const QString name = providerName(*provider);
    device->provider = name;
    ProviderEntry &entry = device->entries[name];
    const bool toggleOnly = request.toggleOnly.value_or(false);
    const bool modelOnly = request.modelOnly.value_or(false);
    BYOKSyncResponse response;
    if (modelOnly) {
        entry.model = trimmedModel(request.byokModel);
        response.didReturnByokModel = true;
        response.byokModel = entry.model;
    } else if (toggleOnly || (request.apiKey.isEmpty() && request.enabled)) {
        device->byokEnabled = request.enabled;
    } else if (request.apiKey.isEmpty()) {
        // A clear forgets the key and its model.
        device->entries.remove(name);
        device->byokEnabled = false;
    } else {
        entry.apiKey = request.apiKey;
        entry.model = trimmedModel(request.byokModel);
        entry.transient = request.transientOnly.value_or(false);
        device->byokEnabled = request.enabled;
        response.didReturnByokModel = true;
        response.byokModel = entry.model;
    }
    if (const auto it = device->entries.constFind(name);
        it != device->entries.constEnd() && it->apiKey.isEmpty() && !it->model) {
        device->entries.remove(name);
    }
    save();
    response.success = true;
    response.aiProvider = name;
    response.byokEnabled = device->byokEnabled;
    return response;
}

Result<OllamaSyncResponse> BackendKeyStore::apply(const OllamaSyncRequest &request)
{
    Device *device = authenticated(request.deviceId, request.deviceSecret);
    if (!device)
        return wrongDevice();
    device->ollamaEnabled = request.enabled;
    save();
    OllamaSyncResponse response;
    response.success = true;
    response.ollamaEnabled = device->ollamaEnabled;
    return response;
}

std::optional<BackendKeyStore::SavedKey> BackendKeyStore::savedKey(const QString &deviceId,
                                                                   const QString &deviceSecret,
                                                                   BackendProvider provider) const
{
    const Device *device = known(deviceId, deviceSecret);
    if (!device)
        return std::nullopt;
    const auto it = device->entries.constFind(providerName(provider));
    if (it == device->entries.constEnd() || it->apiKey.isEmpty())
        return std::nullopt;
    return SavedKey { it->apiKey, it->model };
}

std::optional<BackendProvider> BackendKeyStore::chosenProvider(const QString &deviceId,
                                                               const QString &deviceSecret) const
{
    const Device *device = known(deviceId, deviceSecret);
    return device ? providerFromName(device->provider) : std::nullopt;
}

void BackendKeyStore::load()
{
    if (m_path.isEmpty())
        return;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonObject devices = QJsonDocument::fromJson(file.readAll()).object().value(Key::Devices).toObject();
    for (auto it = devices.constBegin(); it != devices.constEnd(); ++it) {
        const QJsonObject json = it.value().toObject();
        Device device;
        device.secretHash = json.value(Key::SecretHash).toString();
        if (device.secretHash.isEmpty())
            continue;
        device.provider = json.value(Key::Provider).toString();
        device.byokEnabled = json.value(Key::ByokEnabled).toBool();
        device.ollamaEnabled = json.value(Key::OllamaEnabled).toBool();
        const QJsonObject keys = json.value(Key::Keys).toObject();
        for (auto key = keys.constBegin(); key != keys.constEnd(); ++key) {
            const QJsonObject entryJson = key.value().toObject();
            ProviderEntry entry;
            entry.apiKey = entryJson.value(Key::ApiKey).toString();
            if (entryJson.value(Key::Model).isString())
                entry.model = entryJson.value(Key::Model).toString();
            device.entries.insert(key.key(), entry);
        }
        m_devices.insert(it.key(), device);
    }
    qCInfo(lcBackend) << "Key store loaded:" << m_devices.size() << "devices";
}

void BackendKeyStore::save() const
{
    if (m_path.isEmpty())
        return;
    QJsonObject devices;
    for (auto it = m_devices.constBegin(); it != m_devices.constEnd(); ++it) {
        QJsonObject keys;
        for (auto entry = it->entries.constBegin(); entry != it->entries.constEnd(); ++entry) {
            if (entry->transient)
                continue;
            QJsonObject entryJson { { Key::ApiKey, entry->apiKey } };
            if (entry->model)
                entryJson.insert(Key::Model, *entry->model);
            keys.insert(entry.key(), entryJson);
        }
        devices.insert(it.key(),
                       QJsonObject {
                           { Key::SecretHash, it->secretHash },
                           { Key::Provider, it->provider },
                           { Key::ByokEnabled, it->byokEnabled },
                           { Key::OllamaEnabled, it->ollamaEnabled },
                           { Key::Keys, keys },
                       });
    }
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    // Owner-only before the first byte, so that no key is ever readable by others.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
        qCWarning(lcBackend) << "Key store not saved: cannot open its file";
        return;
    }
    file.write(QJsonDocument(QJsonObject { { Key::Devices, devices } }).toJson(QJsonDocument::Compact));
    if (!file.commit())
        qCWarning(lcBackend) << "Key store not saved:" << file.errorString();
}

} // namespace Nomly
