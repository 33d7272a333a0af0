#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "naming/namingpatternseparator.h"

namespace Nomly {

// One block of a pattern as the block editor stores it beside the pattern text.
struct NamingPatternBlock
{
    enum class Kind
    {
        Variable,
        Literal,
    };

    Kind kind = Kind::Literal;
    // A variable's token with braces, or a literal's fixed text.
    QString value;
    // Absent on the first block.
    std::optional<NamingPatternSeparator> separatorBefore;

    bool operator==(const NamingPatternBlock &) const = default;
};

inline constexpr RawValueTable<NamingPatternBlock::Kind, 2> NamingPatternBlockKindRawValues { {
    { NamingPatternBlock::Kind::Variable, u"variable" },
    { NamingPatternBlock::Kind::Literal, u"literal" },
} };

// The pattern text the blocks stand for: each block's value, with the separator
// stored before it for every block after the first.
QString joinedText(const QList<NamingPatternBlock> &blocks);

} // namespace Nomly
