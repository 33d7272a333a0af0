#pragma once

#include <QString>
#include <array>
#include <optional>
#include <utility>

namespace Nomly {

// Stored enumerations keep their raw strings in one constexpr table next to
// the enum; these two functions are the only way in and out of that form.
template<typename Enum, std::size_t N> using RawValueTable = std::array<std::pair<Enum, const char16_t *>, N>;

template<typename Enum, std::size_t N> QString rawValueIn(const RawValueTable<Enum, N> &table, Enum value)
{
    for (const auto &[candidate, raw] : table) {
        if (candidate == value)
            return QString::fromUtf16(raw);
    }
    return {};
}

template<typename Enum, std::size_t N>
std::optional<Enum> fromRawValueIn(const RawValueTable<Enum, N> &table, QStringView raw)
{
    for (const auto &[candidate, text] : table) {
        if (raw == QStringView(text))
            return candidate;
    }
    return std::nullopt;
}

} // namespace Nomly
