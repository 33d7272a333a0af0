#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <optional>

#include "settings/keyboardshortcut.h"

namespace Nomly {

QJsonObject toJson(const KeyboardShortcut &shortcut);

// Both keys are required and must hold whole numbers in the unsigned 32-bit
// range; anything else does not decode.
std::optional<KeyboardShortcut> keyboardShortcutFromJson(const QJsonValue &json);

} // namespace Nomly
