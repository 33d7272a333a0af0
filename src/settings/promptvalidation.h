#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The longest custom prompt when remote configuration sets no other limit.
inline constexpr qsizetype DefaultPromptMaxChars = 1000;

// The outcome of checking a custom rename or tagging prompt. Neither text nor
// error means the field was left empty and the built-in prompt applies.
struct PromptValidation
{
    std::optional<QString> text;
    std::optional<QString> error;

    bool operator==(const PromptValidation &) const = default;
};

// Unifies line ends to LF and trims, then refuses a prompt longer than
// `maxChars` user-perceived characters or one holding control or format
// characters other than tab and line feed.
PromptValidation validatePrompt(const QString &raw, qsizetype maxChars = DefaultPromptMaxChars);

} // namespace Nomly
