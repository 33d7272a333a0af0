#include "settings/watchedfolderconfigjson.h"

#include "settings/analysissettingsjson.h"
#include "settings/jsonfieldreader_p.h"

namespace Nomly {

namespace {

namespace Key {
const QString Path = QStringLiteral("path");
const QString PresetId = QStringLiteral("presetId");
const QString LegacySettings = QStringLiteral("legacySettings");
} // namespace Key

const QString RecordName = QStringLiteral("Folder configuration");

std::optional<WatchedFolderConfig> failed(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return std::nullopt;
}

QString missingKey(const QString &key)
{
    return QStringLiteral("%1 key \"%2\" is missing").arg(RecordName, key);
}

} // namespace

QJsonObject toJson(const WatchedFolderConfig &config)
{
    QJsonObject json {
        { Key::Path, config.path },
        { Key::LegacySettings, toJson(config.legacySettings) },
    };
    if (config.presetId)
        json.insert(Key::PresetId, config.presetId->toString(QUuid::WithoutBraces).toUpper());
    return json;
}

std::optional<WatchedFolderConfig> watchedFolderConfigFromJson(const QJsonObject &json, QString *error)
{
    JsonFieldReader in(json, RecordName);
    std::optional<QString> path = in.string(Key::Path);
    const std::optional<QString> presetId = in.string(Key::PresetId);
    if (in.failed())
        return failed(error, in.error());
    if (!path)
        return failed(error, missingKey(Key::Path));

    WatchedFolderConfig config;
    config.path = std::move(*path);
    if (presetId) {
        const QUuid uuid = QUuid::fromString(*presetId);
        if (uuid.isNull())
            return failed(error, QStringLiteral("%1 key \"%2\" must hold a UUID").arg(RecordName, Key::PresetId));
        config.presetId = uuid;
    }

    const QJsonValue legacySettings = json.value(Key::LegacySettings);
    if (legacySettings.isUndefined() || legacySettings.isNull())
        return failed(error, missingKey(Key::LegacySettings));
    if (!legacySettings.isObject())
        return failed(error, QStringLiteral("%1 key \"%2\" must hold an object").arg(RecordName, Key::LegacySettings));
    std::optional<AnalysisSettings> settings = analysisSettingsFromJson(legacySettings.toObject(), error);
    if (!settings)
        return std::nullopt;
    config.legacySettings = std::move(*settings);
    return config;
}

} // namespace Nomly
