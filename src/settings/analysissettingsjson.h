#pragma once

#include <QJsonObject>
#include <QString>
#include <optional>

#include "settings/analysissettings.h"

namespace Nomly {

// Only the fields that are present; an empty record is an empty object.
QJsonObject toJson(const AnalysisSettings &settings);

// Any subset of the keys decodes, and a missing key or null inherits. A key
// holding the wrong type or an unknown case fails the decode, with `error`
// naming it, so that the caller can drop the record rather than silently
// widen what it overrides.
std::optional<AnalysisSettings> analysisSettingsFromJson(const QJsonObject &json, QString *error = nullptr);

} // namespace Nomly
