#pragma once

#include <QString>
#include <optional>

namespace Nomly {

class PatternRenderContext;

// The value a token takes in a render, or none when the token is not one the
// renderer knows (it then stays in the text and loses its braces later).
// Token spellings are case-sensitive: {Title} and {TITLE} differ.
std::optional<QString> patternValue(const QString &token, PatternRenderContext &context);

} // namespace Nomly
