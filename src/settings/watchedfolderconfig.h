#pragma once

#include <QString>
#include <QUuid>
#include <optional>

#include "settings/analysissettings.h"

namespace Nomly {

// Ties a watched folder to the template in force there. `legacySettings` holds
// the folder's own overrides from before templates existed; empty otherwise.
struct WatchedFolderConfig
{
    QString path;
    std::optional<QUuid> presetId;
    AnalysisSettings legacySettings;

    bool operator==(const WatchedFolderConfig &) const = default;
};

} // namespace Nomly
