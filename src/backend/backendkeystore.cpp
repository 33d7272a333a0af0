#include "backend/backendkeystore.h"

#include <QCryptographicHash>

namespace Nomly {

namespace {

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
    // Ollama takes no key, and the key of a user's own server stays on
    // their machine with its address.
    if (!provider || *provider == BackendProvider::Ollama || *provider == BackendProvider::OpenAICompatible)
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
        device->byokEnabled = request.enabled;
        response.didReturnByokModel = true;
        response.byokModel = entry.model;
    }
    if (const auto it = device->entries.constFind(name);
        it != device->entries.constEnd() && it->apiKey.isEmpty() && !it->model) {
        device->entries.remove(name);
    }
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

} // namespace Nomly
