#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// Where analysis runs: nowhere, through a cloud route, or on a local server.
enum class AIProcessingMode
{
    Off,
    Cloud,
    Local,
};

inline constexpr RawValueTable<AIProcessingMode, 3> AIProcessingModeRawValues { {
    { AIProcessingMode::Off, u"off" },
    { AIProcessingMode::Cloud, u"cloud" },
    { AIProcessingMode::Local, u"local" },
} };

inline QString rawValue(AIProcessingMode value)
{
    return rawValueIn(AIProcessingModeRawValues, value);
}

inline std::optional<AIProcessingMode> aiProcessingModeFromRaw(QStringView raw)
{
    return fromRawValueIn(AIProcessingModeRawValues, raw);
}

} // namespace Nomly
