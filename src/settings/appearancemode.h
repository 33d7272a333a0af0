#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// Light or dark look, or following the desktop.
enum class AppearanceMode
{
    Auto,
    Light,
    Dark,
};

inline constexpr RawValueTable<AppearanceMode, 3> AppearanceModeRawValues { {
    { AppearanceMode::Auto, u"auto" },
    { AppearanceMode::Light, u"light" },
    { AppearanceMode::Dark, u"dark" },
} };

inline QString rawValue(AppearanceMode value)
{
    return rawValueIn(AppearanceModeRawValues, value);
}

inline std::optional<AppearanceMode> appearanceModeFromRaw(QStringView raw)
{
    return fromRawValueIn(AppearanceModeRawValues, raw);
}

} // namespace Nomly
