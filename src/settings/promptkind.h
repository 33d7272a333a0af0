#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// The two instructions a user may rewrite: how names look and which tags to use.
enum class PromptKind
{
    Rename,
    Tagging,
};

inline constexpr RawValueTable<PromptKind, 2> PromptKindRawValues { {
    { PromptKind::Rename, u"rename" },
    { PromptKind::Tagging, u"tagging" },
} };

inline QString rawValue(PromptKind value)
{
    return rawValueIn(PromptKindRawValues, value);
}

inline std::optional<PromptKind> promptKindFromRaw(QStringView raw)
{
    return fromRawValueIn(PromptKindRawValues, raw);
}

} // namespace Nomly
