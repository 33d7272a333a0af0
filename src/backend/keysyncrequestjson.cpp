#include "backend/keysyncrequestjson.h"

namespace Nomly {

namespace {

namespace Key {
constexpr QLatin1StringView DeviceId("device_id");
constexpr QLatin1StringView DeviceSecret("device_secret");
constexpr QLatin1StringView Provider("provider");
constexpr QLatin1StringView ApiKey("api_key");
constexpr QLatin1StringView ByokModel("byok_model");
constexpr QLatin1StringView Enabled("enabled");
constexpr QLatin1StringView ToggleOnly("toggle_only");
constexpr QLatin1StringView TransientOnly("transient_only");
constexpr QLatin1StringView ModelOnly("model_only");
constexpr QLatin1StringView OllamaOnly("ollama_only");
constexpr QLatin1StringView Success("success");
constexpr QLatin1StringView Message("message");
constexpr QLatin1StringView Error("error");
constexpr QLatin1StringView AiProvider("ai_provider");
constexpr QLatin1StringView ByokEnabled("byok_enabled");
constexpr QLatin1StringView OllamaEnabled("ollama_enabled");
} // namespace Key

std::optional<bool> flagAt(const QJsonObject &json, QLatin1StringView key)
{
    const QJsonValue value = json.value(key);
    return value.isBool() ? std::optional<bool>(value.toBool()) : std::nullopt;
}

std::optional<QString> textAt(const QJsonObject &json, QLatin1StringView key)
{
    const QJsonValue value = json.value(key);
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

template<typename T> void insertIfSet(QJsonObject &json, QLatin1StringView key, const std::optional<T> &value)
{
    if (value)
        json.insert(key, *value);
}

} // namespace

std::optional<BYOKSyncRequest> byokSyncRequestFromJson(const QJsonObject &json)
{
    const std::optional<QString> deviceId = textAt(json, Key::DeviceId);
    const std::optional<QString> deviceSecret = textAt(json, Key::DeviceSecret);
    const std::optional<QString> provider = textAt(json, Key::Provider);
    if (!deviceId || !deviceSecret || !provider)
        return std::nullopt;
    BYOKSyncRequest request;
    request.deviceId = *deviceId;
    request.deviceSecret = *deviceSecret;
    request.provider = *provider;
    request.apiKey = textAt(json, Key::ApiKey).value_or(QString()).trimmed();
    request.byokModel = textAt(json, Key::ByokModel);
    request.enabled = flagAt(json, Key::Enabled).value_or(false);
    request.toggleOnly = flagAt(json, Key::ToggleOnly);
    request.transientOnly = flagAt(json, Key::TransientOnly);
    request.modelOnly = flagAt(json, Key::ModelOnly);
    return request;
}

std::optional<OllamaSyncRequest> ollamaSyncRequestFromJson(const QJsonObject &json)
{
    const std::optional<QString> deviceId = textAt(json, Key::DeviceId);
    const std::optional<QString> deviceSecret = textAt(json, Key::DeviceSecret);
    if (!flagAt(json, Key::OllamaOnly).value_or(false) || !deviceId || !deviceSecret)
        return std::nullopt;
    OllamaSyncRequest request;
    request.deviceId = *deviceId;
    request.deviceSecret = *deviceSecret;
    request.enabled = flagAt(json, Key::Enabled).value_or(false);
    return request;
}

QJsonObject toJson(const BYOKSyncResponse &response)
{
    QJsonObject json;
    insertIfSet(json, Key::Success, response.success);
    insertIfSet(json, Key::Message, response.message);
    insertIfSet(json, Key::Error, response.error);
    insertIfSet(json, Key::AiProvider, response.aiProvider);
    if (response.didReturnByokModel)
        json.insert(Key::ByokModel, response.byokModel ? QJsonValue(*response.byokModel) : QJsonValue());
    insertIfSet(json, Key::ByokEnabled, response.byokEnabled);
    return json;
}

QJsonObject toJson(const OllamaSyncResponse &response)
{
    QJsonObject json;
    insertIfSet(json, Key::Success, response.success);
    insertIfSet(json, Key::Message, response.message);
    insertIfSet(json, Key::Error, response.error);
    insertIfSet(json, Key::OllamaEnabled, response.ollamaEnabled);
    return json;
}

} // namespace Nomly
