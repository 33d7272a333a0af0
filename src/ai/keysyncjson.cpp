#include "ai/keysyncjson.h"

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

template<typename T> void insertIfSet(QJsonObject &json, QLatin1StringView key, const std::optional<T> &value)
{
    if (value) {
        json.insert(key, *value);
    }
}

std::optional<bool> boolAt(const QJsonObject &json, QLatin1StringView key)
{
    const QJsonValue value = json.value(key);
    return value.isBool() ? std::optional<bool>(value.toBool()) : std::nullopt;
}

std::optional<QString> stringAt(const QJsonObject &json, QLatin1StringView key)
{
    const QJsonValue value = json.value(key);
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

} // namespace

QJsonObject toJson(const BYOKSyncRequest &request)
{
    QJsonObject json {
        { Key::DeviceId, request.deviceId }, { Key::DeviceSecret, request.deviceSecret },
        { Key::Provider, request.provider }, { Key::ApiKey, request.apiKey },
        { Key::Enabled, request.enabled },
    };
    insertIfSet(json, Key::ByokModel, request.byokModel);
    insertIfSet(json, Key::ToggleOnly, request.toggleOnly);
    insertIfSet(json, Key::TransientOnly, request.transientOnly);
    insertIfSet(json, Key::ModelOnly, request.modelOnly);
    return json;
}

QJsonObject toJson(const OllamaSyncRequest &request)
{
    return {
        { Key::DeviceId, request.deviceId },
        { Key::DeviceSecret, request.deviceSecret },
        { Key::Enabled, request.enabled },
        { Key::OllamaOnly, request.ollamaOnly },
    };
}

BYOKSyncResponse byokSyncResponseFromJson(const QJsonObject &json)
{
    BYOKSyncResponse response;
    response.success = boolAt(json, Key::Success);
    response.message = stringAt(json, Key::Message);
    response.error = stringAt(json, Key::Error);
    response.aiProvider = stringAt(json, Key::AiProvider);
    response.byokModel = stringAt(json, Key::ByokModel);
    response.byokEnabled = boolAt(json, Key::ByokEnabled);
    response.didReturnByokModel = json.contains(Key::ByokModel);
    return response;
}

OllamaSyncResponse ollamaSyncResponseFromJson(const QJsonObject &json)
{
    OllamaSyncResponse response;
    response.success = boolAt(json, Key::Success);
    response.message = stringAt(json, Key::Message);
    response.error = stringAt(json, Key::Error);
    response.ollamaEnabled = boolAt(json, Key::OllamaEnabled);
    return response;
}

// The backend's side of the same bodies.

std::optional<BYOKSyncRequest> byokSyncRequestFromJson(const QJsonObject &json)
{
    const std::optional<QString> deviceId = stringAt(json, Key::DeviceId);
    const std::optional<QString> deviceSecret = stringAt(json, Key::DeviceSecret);
    const std::optional<QString> provider = stringAt(json, Key::Provider);
    if (!deviceId || !deviceSecret || !provider)
        return std::nullopt;
    BYOKSyncRequest request;
    request.deviceId = *deviceId;
    request.deviceSecret = *deviceSecret;
    request.provider = *provider;
    request.apiKey = stringAt(json, Key::ApiKey).value_or(QString()).trimmed();
    request.byokModel = stringAt(json, Key::ByokModel);
    request.enabled = boolAt(json, Key::Enabled).value_or(false);
    request.toggleOnly = boolAt(json, Key::ToggleOnly);
    request.transientOnly = boolAt(json, Key::TransientOnly);
    request.modelOnly = boolAt(json, Key::ModelOnly);
    return request;
}

std::optional<OllamaSyncRequest> ollamaSyncRequestFromJson(const QJsonObject &json)
{
    const std::optional<QString> deviceId = stringAt(json, Key::DeviceId);
    const std::optional<QString> deviceSecret = stringAt(json, Key::DeviceSecret);
    if (!boolAt(json, Key::OllamaOnly).value_or(false) || !deviceId || !deviceSecret)
        return std::nullopt;
    OllamaSyncRequest request;
    request.deviceId = *deviceId;
    request.deviceSecret = *deviceSecret;
    request.enabled = boolAt(json, Key::Enabled).value_or(false);
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
