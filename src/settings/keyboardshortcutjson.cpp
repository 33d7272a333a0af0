#include "settings/keyboardshortcutjson.h"

#include <cmath>
#include <limits>

namespace Nomly {

namespace {

const QString KeyCodeKey = QStringLiteral("keyCode");
const QString ModifiersKey = QStringLiteral("modifiers");

std::optional<quint32> unsigned32(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number < 0 || number > std::numeric_limits<quint32>::max() || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<quint32>(number);
}

} // namespace

QJsonObject toJson(const KeyboardShortcut &shortcut)
{
    return QJsonObject {
        { KeyCodeKey, static_cast<qint64>(shortcut.keyCode) },
        { ModifiersKey, static_cast<qint64>(shortcut.modifiers) },
    };
}

std::optional<KeyboardShortcut> keyboardShortcutFromJson(const QJsonValue &json)
{
    if (!json.isObject())
        return std::nullopt;
    const QJsonObject object = json.toObject();
    const auto keyCode = unsigned32(object.value(KeyCodeKey));
    const auto modifiers = unsigned32(object.value(ModifiersKey));
    if (!keyCode || !modifiers)
        return std::nullopt;
    return KeyboardShortcut { *keyCode, *modifiers };
}

} // namespace Nomly
