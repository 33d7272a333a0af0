#pragma once

namespace Nomly {

// Which parts of an answer the caller wants besides the title.
struct AIAnalysisOutputOptions
{
    bool includeDescription = true;
    bool includeTags = true;

    bool operator==(const AIAnalysisOutputOptions &) const = default;
};

} // namespace Nomly
