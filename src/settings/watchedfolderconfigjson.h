#pragma once

#include <QJsonObject>
#include <QString>
#include <optional>

#include "settings/watchedfolderconfig.h"

namespace Nomly {

// `presetId` is left out when the folder has none.
QJsonObject toJson(const WatchedFolderConfig &config);

// `path` and `legacySettings` are required; a missing or null `presetId` means
// none. A key holding the wrong type, or a `presetId` that is no UUID, fails
// the decode with `error` naming the key: a folder must not quietly lose its
// template and fall back to the global settings.
std::optional<WatchedFolderConfig> watchedFolderConfigFromJson(const QJsonObject &json, QString *error = nullptr);

} // namespace Nomly
