#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <optional>

#include "settings/settings.h"

namespace Nomly {

// Every field under its own name; optional fields only when present. Keys
// from earlier versions are never written.
QJsonObject toJson(const Settings &settings);

// The same object as compact JSON text with the keys in field order, which
// QJsonObject cannot keep because it sorts them. This is the stored form.
QByteArray settingsToJsonBytes(const Settings &settings);

// Starts from the defaults and reads every key that is there, filling what an
// older record lacks from the keys that record did have. A key holding the
// wrong type fails the whole decode, with `error` naming it; an unreadable
// processing mode alone falls back to the default instead.
std::optional<Settings> settingsFromJson(const QJsonObject &json, QString *error = nullptr);

// Every key the record may write, in field order, optional ones included.
QStringList settingsFieldNames();

} // namespace Nomly
