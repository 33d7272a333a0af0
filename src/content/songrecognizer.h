#pragma once

#include <optional>

#include "content/audiofingerprint.h"
#include "content/recognizedmediaitem.h"

namespace Nomly {

// Finds the track a fingerprint was taken from. Implementations are called
// from worker threads, several at once, and so keep no state that a match
// changes.
class SongRecognizer
{
public:
    virtual ~SongRecognizer() = default;

    // None when no track matches.
    virtual std::optional<RecognizedMediaItem> match(const AudioFingerprint &fingerprint) const = 0;
};

} // namespace Nomly
