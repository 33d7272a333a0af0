#pragma once

#include <QString>
#include <QUuid>
#include <optional>
#include <variant>

#include "naming/textformatting.h"

namespace Nomly {

// One chip of the block editor: a variable or a piece of custom text. The id
// stays with the chip through edits and drags.
struct NamingPatternTokenItem
{
    struct Variable
    {
        // Canonical, e.g. "{original}" for every spelling of the original name.
        QString token;
        // Only on "{original}": the spelling the chip writes back.
        std::optional<TextFormatting> originalNameFormatting;

        bool operator==(const Variable &) const = default;
    };

    struct Literal
    {
        QString text;

        bool operator==(const Literal &) const = default;
    };

    QUuid id;
    std::variant<Variable, Literal> content;

    const Variable *variable() const { return std::get_if<Variable>(&content); }

    const Literal *literal() const { return std::get_if<Literal>(&content); }

    bool operator==(const NamingPatternTokenItem &) const = default;
};

// A chip with a new id for any spelling of a token: the token is made
// canonical, and an original-name spelling keeps its formatting.
NamingPatternTokenItem variableTokenItem(const QString &token);

// A chip with a new id for text that has been sanitised already.
NamingPatternTokenItem literalTokenItem(const QString &text);

} // namespace Nomly
