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

} // namespace Nomly
